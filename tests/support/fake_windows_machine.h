#pragma once

#include "platform/machine/forwarding_machine.h"
#include "platform/machine_folder/machine_folder.h"

#include <optional>

#include <sys/stat.h>

namespace kest::test {

/// What a program that has a file open lets others do with it.
enum class Sharing { kNothing, kReadAndWrite, kAll };

/// A machine folder that refuses what a PC refuses: files that somebody has open (the engine included), under whatever
/// name, are not replaced; they are moved and deleted only if the holder shares that, and keep their name when deleted
/// until they are closed; nobody renames a folder with an open file in it; a read-only file is not replaced.
class FakeWindowsMachine : public ForwardingMachine {
public:
  explicit FakeWindowsMachine(MachineFolder& folder) : ForwardingMachine(folder), m_folder(folder) {}
  ~FakeWindowsMachine() override { LetGo(); }

  /// Another program opens a file, or a folder.
  void Hold(const CString& path, Sharing sharing);
  /// It closes all it has open.
  void LetGo();

  [[nodiscard]] std::unique_ptr<MachineFile> Open(const CString& path, OpenMode mode) override;
  [[nodiscard]] bool CopyFile(const CString& from, const CString& to) override;
  [[nodiscard]] bool DeleteFile(const CString& path) override;
  [[nodiscard]] bool MoveFile(const CString& from, const CString& to) override;
  [[nodiscard]] bool ReplaceFile(const CString& from, const CString& to) override;
  [[nodiscard]] bool MoveFileToTrash(const CString& path) override;
  [[nodiscard]] bool MoveFolderToTrash(const CString& path, const CString& label) override;
  [[nodiscard]] bool CanUpdateFile(const CString& path) override;
  [[nodiscard]] bool RemoveDirectory(const CString& path) override;
  [[nodiscard]] bool MoveEmptyFolder(const CString& from, const CString& to) override;
  [[nodiscard]] bool MoveFolder(const CString& from, const CString& to) override;
  [[nodiscard]] bool RemoveTree(const CString& path) override;

protected:
  bool Allow(const Call& call) override;
  MachineError Refusal(const Call& call) override { return {*m_why, *call.path, "a program has it open"}; }

private:
  class File;
  using Kind = MachineError::Kind;
  using Why = std::optional<Kind>;
  /// One open file.
  struct Holder {
    struct stat info {};
    Sharing sharing = Sharing::kAll;
    bool isOurs = false;
  };
  [[nodiscard]] bool Identify(const CString& path, struct stat& info);
  /// How far the file may be touched; nothing when nobody has it open.
  [[nodiscard]] std::optional<Sharing> SharingOf(const CString& path);
  [[nodiscard]] Why WhyNotRead(const CString& path);
  [[nodiscard]] Why WhyNotMoved(const CString& path);
  [[nodiscard]] Why WhyNotReplaced(const CString& path);
  /// Something in the folder, or the folder itself, is open.
  [[nodiscard]] Why WhyNotFolder(const CString& path, bool isRename);
  void Close(const Holder& holder);
  void DeletePending();
  /// A call that is refused for `why`, if for anything.
  template <class Call> auto Unless(Why why, const Call& call) {
    m_why = why;
    const auto result = call();
    m_why.reset();
    return result;
  }

  MachineFolder& m_folder;
  std::vector<Holder> m_holders;
  std::vector<CString> m_pending; ///< deleted while open
  Why m_why;
};

} // namespace kest::test
