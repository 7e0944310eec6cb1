#pragma once

#include "platform/machine/overlay_machine.h"
#include "support/machine_facts.h"
#ifdef _WIN32
#include "windows/temp_machine.h"
#else
#include "support/temp_machine.h"
#endif

#include <gtest/gtest.h>

namespace kest::test {

/// `T` is the machine that is asked.
template <class T> class TestOf : public TempMachineTest {
protected:
  virtual T& pc() = 0;
  [[nodiscard]] bool Put(const CString& path, OpenMode mode, std::string_view content) {
    const auto file = pc().Open(path, mode);
    return file && file->Write(content.data(), content.size()) && file->Close();
  }
  [[nodiscard]] std::string FailureOf(bool result, MachineError::Kind kind, const CString& path) {
    const MachineError error = pc().GetLastError();
    if (result || error.kind != kind || error.path != path || error.reason.empty()) {
      return (result ? "succeeded " : "") + std::to_string(static_cast<int>(error.kind)) + " " + error.path + ": " +
             error.reason;
    }
    return {};
  }
};

enum class Over { kFolder, kOverlay };

/// What holds for every machine: asked of a machine folder or the PC, and of an overlay over one, which stays as it is.
class MachineTest : public TestOf<Machine>, public testing::WithParamInterface<Over> {
protected:
  Machine& pc() override {
    if (GetParam() == Over::kFolder) {
      return m_pc.Get();
    }
    if (!m_overlay) {
      m_traces = TracesOf(m_pc.GetRoot());
      m_overlay = std::make_unique<OverlayMachine>(m_pc.Get());
    }
    return *m_overlay;
  }
  void TearDown() override {
    if (m_overlay) {
      EXPECT_EQ(TracesOf(m_pc.GetRoot()), m_traces);
    }
  }
  /// After the test itself changed something there.
  void AcceptDisk() { m_traces = TracesOf(m_pc.GetRoot()); }
  [[nodiscard]] bool IsFolder() const { return GetParam() == Over::kFolder; }
  /// A file to begin with, or in the midst of a test.
  void Give(const CString& path, std::string_view content, std::int64_t date = TempMachine::kDate) {
    if (!m_overlay) {
      return m_pc.Write(path, content, date);
    }
    ASSERT_TRUE(Put(path, OpenMode::kReplace, content) && pc().SetFileDateTime(path, CKestDateTime(date)));
  }
  [[nodiscard]] std::string Read(const CString& path) {
    const auto file = pc().Open(path, OpenMode::kRead);
    std::string content(400000, 0);
    const std::int64_t got = file ? file->Read(content.data(), content.size()) : -1;
    return got < 0 ? "not read" : content.substr(0, static_cast<std::size_t>(got));
  }
  /// Spelled as on disk.
  [[nodiscard]] bool Exists(const CString& path) {
    return (IsYes(pc().FileExists(path)) || IsYes(pc().DirectoryExists(path))) && pc().GetStoredPath(path) == path;
  }
  [[nodiscard]] std::int64_t GetDate(const CString& path) {
    CKestDateTime date;
    return IsYes(pc().GetFileDateTime(path, date)) ? date.GetSeconds() : -1;
  }

private:
  std::unique_ptr<OverlayMachine> m_overlay;
  std::map<std::string, std::string> m_traces;
};

} // namespace kest::test
