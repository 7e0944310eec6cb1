#include "support/fake_windows_machine.h"

#include <algorithm>
#include <filesystem>

namespace kest::test {

static bool IsSame(const struct stat& a, const struct stat& b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

/// One that stays open until it is freed or closed.
class FakeWindowsMachine::File : public MachineFile {
public:
  File(FakeWindowsMachine& machine, std::unique_ptr<MachineFile> next, CString path, bool replaces)
      : m_machine(machine), m_next(std::move(next)), m_path(std::move(path)), m_replaces(replaces) {
    m_holder.isOurs = true;
    m_isHeld = !replaces && m_machine.Identify(m_path, m_holder.info);
    if (m_isHeld) {
      m_machine.m_holders.push_back(m_holder);
    }
  }
  ~File() override { Release(); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  std::int64_t Read(char* buffer, std::size_t count) override { return m_next->Read(buffer, count); }
  std::int64_t ReadAt(std::uint64_t offset, char* buffer, std::size_t count) override {
    return m_next->ReadAt(offset, buffer, count);
  }
  bool Write(const char* bytes, std::size_t count) override { return m_next->Write(bytes, count); }
  bool WriteAt(std::uint64_t offset, const char* bytes, std::size_t count) override {
    return m_next->WriteAt(offset, bytes, count);
  }
  bool GetSize(std::uint64_t& size) override { return m_next->GetSize(size); }
  bool SetDate(const CKestDateTime& date) override { return m_next->SetDate(date); }
  bool Sync() override { return m_next->Sync(); }
  bool Close() override {
    Release();
    // the file that it takes the place of may have been opened meanwhile
    return m_replaces ? m_machine.Unless(m_machine.WhyNotReplaced(m_path), [this] { return m_next->Close(); })
                      : m_next->Close();
  }

private:
  void Release() {
    if (std::exchange(m_isHeld, false)) {
      m_machine.Close(m_holder);
    }
  }

  FakeWindowsMachine& m_machine;
  std::unique_ptr<MachineFile> m_next;
  CString m_path;
  bool m_replaces;
  bool m_isHeld = false;
  Holder m_holder;
};

void FakeWindowsMachine::Hold(const CString& path, Sharing sharing) {
  Holder holder{{}, sharing, false};
  if (Identify(path, holder.info)) {
    m_holders.push_back(holder);
  }
}

void FakeWindowsMachine::LetGo() {
  std::erase_if(m_holders, [](const Holder& holder) { return !holder.isOurs; });
  DeletePending();
}

void FakeWindowsMachine::Close(const Holder& holder) {
  const auto it = std::find_if(m_holders.begin(), m_holders.end(),
                               [&](const Holder& other) { return other.isOurs && IsSame(other.info, holder.info); });
  if (it != m_holders.end()) {
    m_holders.erase(it);
  }
  DeletePending();
}

void FakeWindowsMachine::DeletePending() {
  std::erase_if(m_pending, [this](const CString& path) { return !SharingOf(path) && m_folder.DeleteFile(path); });
}

bool FakeWindowsMachine::Identify(const CString& path, struct stat& info) {
  const MachineError keep = m_folder.GetLastError();
  const CString host = m_folder.ToHostPath(path);
  if (keep.kind == Kind::kNone) {
    m_folder.ClearLastError();
  }
  return !host.empty() && lstat(host.c_str(), &info) == 0;
}

std::optional<Sharing> FakeWindowsMachine::SharingOf(const CString& path) {
  struct stat info {};
  std::optional<Sharing> least;
  if (!m_holders.empty() && Identify(path, info)) {
    for (const Holder& holder : m_holders) {
      if (IsSame(holder.info, info)) {
        least = std::min(least.value_or(Sharing::kAll), holder.sharing);
      }
    }
  }
  return least;
}

FakeWindowsMachine::Why FakeWindowsMachine::WhyNotRead(const CString& path) {
  const bool isPending = std::find(m_pending.begin(), m_pending.end(), path) != m_pending.end();
  return isPending ? Why(Kind::kAccess) : SharingOf(path) == Sharing::kNothing ? Why(Kind::kInUse) : Why();
}

FakeWindowsMachine::Why FakeWindowsMachine::WhyNotMoved(const CString& path) {
  const bool isPending = std::find(m_pending.begin(), m_pending.end(), path) != m_pending.end();
  return isPending                                                  ? Why(Kind::kAccess)
         : SharingOf(path).value_or(Sharing::kAll) != Sharing::kAll ? Why(Kind::kInUse)
                                                                    : Why();
}

FakeWindowsMachine::Why FakeWindowsMachine::WhyNotReplaced(const CString& path) {
  struct stat info {};
  if (Identify(path, info) && S_ISREG(info.st_mode) && (info.st_mode & 0222) == 0) {
    return Kind::kAccess;
  }
  return SharingOf(path) ? Why(Kind::kInUse) : Why();
}

FakeWindowsMachine::Why FakeWindowsMachine::WhyNotFolder(const CString& path, bool isRename) {
  struct stat info {};
  const auto isHeld = [this, isRename](const struct stat& entry) {
    return std::any_of(m_holders.begin(), m_holders.end(), [&](const Holder& holder) {
      return IsSame(holder.info, entry) && ((isRename && !S_ISDIR(entry.st_mode)) || holder.sharing != Sharing::kAll);
    });
  };
  if (m_holders.empty() || !Identify(path, info)) {
    return {};
  }
  bool isInUse = isHeld(info);
  for (const auto& entry : std::filesystem::recursive_directory_iterator(m_folder.ToHostPath(path).c_str())) {
    isInUse = isInUse || (lstat(entry.path().c_str(), &info) == 0 && isHeld(info));
  }
  return isInUse ? Why(Kind::kInUse) : Why();
}

bool FakeWindowsMachine::Allow(const Call& call) {
  static_cast<void>(call);
  return !m_why;
}

std::unique_ptr<MachineFile> FakeWindowsMachine::Open(const CString& path, OpenMode mode) {
  const bool replaces = mode == OpenMode::kReplace;
  m_why = replaces ? WhyNotReplaced(path) : WhyNotRead(path);
  std::unique_ptr<MachineFile> file = ForwardingMachine::Open(path, mode);
  m_why.reset();
  return file == nullptr ? nullptr : std::make_unique<File>(*this, std::move(file), path, replaces);
}

bool FakeWindowsMachine::CopyFile(const CString& from, const CString& to) {
  const Why why = WhyNotRead(from);
  return Unless(why ? why : WhyNotReplaced(to), [&] { return ForwardingMachine::CopyFile(from, to); });
}

bool FakeWindowsMachine::DeleteFile(const CString& path) {
  const Why why = WhyNotMoved(path);
  if (!why && SharingOf(path) && IsFileReadOnly(path) == Answer::kNo) {
    m_pending.push_back(path);
    return true;
  }
  return Unless(why, [&] { return ForwardingMachine::DeleteFile(path); });
}

bool FakeWindowsMachine::MoveFile(const CString& from, const CString& to) {
  return Unless(WhyNotMoved(from), [&] { return ForwardingMachine::MoveFile(from, to); });
}

bool FakeWindowsMachine::ReplaceFile(const CString& from, const CString& to) {
  const Why why = WhyNotMoved(from);
  return Unless(why ? why : WhyNotReplaced(to), [&] { return ForwardingMachine::ReplaceFile(from, to); });
}

bool FakeWindowsMachine::MoveFileToTrash(const CString& path) {
  return Unless(WhyNotMoved(path), [&] { return ForwardingMachine::MoveFileToTrash(path); });
}

bool FakeWindowsMachine::MoveFolderToTrash(const CString& path, const CString& label) {
  return Unless(WhyNotFolder(path, true), [&] { return ForwardingMachine::MoveFolderToTrash(path, label); });
}

bool FakeWindowsMachine::CanUpdateFile(const CString& path) {
  return Unless(WhyNotReplaced(path), [&] { return ForwardingMachine::CanUpdateFile(path); });
}

bool FakeWindowsMachine::RemoveDirectory(const CString& path) {
  return Unless(WhyNotFolder(path, false), [&] { return ForwardingMachine::RemoveDirectory(path); });
}

bool FakeWindowsMachine::MoveEmptyFolder(const CString& from, const CString& to) {
  return Unless(WhyNotFolder(from, true), [&] { return ForwardingMachine::MoveEmptyFolder(from, to); });
}

bool FakeWindowsMachine::MoveFolder(const CString& from, const CString& to) {
  return Unless(WhyNotFolder(from, true), [&] { return ForwardingMachine::MoveFolder(from, to); });
}

bool FakeWindowsMachine::RemoveTree(const CString& path) {
  // what is open stays, and with it the folder; all else goes
  std::vector<std::filesystem::path> files;
  const Why why = WhyNotFolder(path, true);
  if (why) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(m_folder.ToHostPath(path).c_str())) {
      struct stat info {};
      const bool isFile = lstat(entry.path().c_str(), &info) == 0 && !S_ISDIR(info.st_mode);
      const bool isOpen = std::any_of(m_holders.begin(), m_holders.end(),
                                      [&](const Holder& holder) { return IsSame(holder.info, info); });
      if (isFile && !isOpen) {
        files.push_back(entry.path());
      }
    }
  }
  for (const auto& file : files) {
    std::filesystem::remove(file);
  }
  return Unless(why, [&] { return ForwardingMachine::RemoveTree(path); });
}

} // namespace kest::test
