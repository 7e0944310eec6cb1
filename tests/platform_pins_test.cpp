#include "support/temp_machine.h"

#include <functional>

#include <fcntl.h>
#include <linux/fs.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kest::test {
namespace {

constexpr const char* kFolder = "C:\\app\\part";
constexpr const char* kFile = "C:\\app\\part\\file.txt";
constexpr int kCannotMake = 77;
constexpr uid_t kNobody = 65534;

/// What the rights of a file and its folder do not show, and who owns what.
class Pins : public TempMachineTest {
protected:
  Pins() {
    m_pc.Write(kFile, "theirs");
    chmod(m_pc.GetRoot().parent_path().c_str(), 0755);
  }
  [[nodiscard]] std::string host(const char* path) const { return m_pc.HostPath(path).string(); }
  /// In a process of its own; its result, 0 for yes.
  static int inChild(const std::function<int()>& work) {
    const pid_t child = fork();
    if (child == 0) {
      _exit(work());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  static bool setFlags(const std::string& path, int flags) {
    const int fd = open(path.c_str(), O_RDONLY);
    const bool set = fd >= 0 && ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    close(fd);
    return set;
  }
  /// 0 when the file is neither to be replaced nor taken along by its folder.
  int judge() const {
    MachineFolder pc(m_pc.GetRoot().string());
    const bool mayUpdate = pc.CanUpdateFile(kFile);
    const MachineError::Kind why = pc.GetLastError().kind;
    const bool isTold = why == MachineError::Kind::kAccess || why == MachineError::Kind::kInUse;
    return (mayUpdate || !isTold ? 1 : 0) + (pc.MoveFolder(kFolder, "C:\\app\\moved") ? 2 : 0);
  }
};

TEST_F(Pins, AFileThatTheSystemHoldsIsNeitherReplacedNorTakenAlong) {
  const std::pair<const char*, std::function<bool()>> rows[] = {
      {"immutable", [this] { return setFlags(host(kFile), FS_IMMUTABLE_FL); }},
      {"append only", [this] { return setFlags(host(kFile), FS_APPEND_FL); }},
      {"mounted", [this] {
         return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                mount(host(kFile).c_str(), host(kFile).c_str(), nullptr, MS_BIND, nullptr) == 0;
       }}};
  for (const auto& row : rows) {
    const char* const name = row.first;
    const int result = inChild([&] { return row.second() ? judge() : kCannotMake; });
    setFlags(host(kFile), 0);
    if (result == kCannotMake) {
      GTEST_SKIP() << "not to be made here: " << name;
    }
    EXPECT_EQ(result, 0) << name;
  }
  EXPECT_EQ(judge(), 3);
}

TEST_F(Pins, AFileOfSomebodyElseInAStickyFolderIsNotReplaced) {
  chmod(host(kFile).c_str(), 0666);
  const auto asNobody = [this](mode_t folder) {
    chmod(host(kFolder).c_str(), folder);
    return inChild([this] { return setgid(kNobody) == 0 && setuid(kNobody) == 0 ? judge() : kCannotMake; });
  };
  const int result = asNobody(01777);
  if (result == kCannotMake) {
    GTEST_SKIP() << "only root can be somebody else";
  }
  EXPECT_EQ(result & 1, 0);
  EXPECT_EQ(asNobody(0777) & 1, 1) << "without the mark it can be replaced";
}

TEST_F(Pins, ARewrittenFileKeepsItsOwnerAndOtherNamesKeepTheirMark) {
  const std::string other = (m_pc.GetOutside() / "other.txt").string();
  ASSERT_EQ(link(host(kFile).c_str(), other.c_str()), 0);
  m_pc.SetReadOnly(kFile, true);
  ASSERT_TRUE(m_pc.Get().SetFileReadOnly(kFile, false));
  struct stat info {};
  ASSERT_EQ(stat(other.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0444U);
  EXPECT_EQ(info.st_nlink, 1U);
  EXPECT_EQ(m_pc.Read(kFile), "theirs");
  EXPECT_EQ(m_pc.GetDate(kFile), TempMachine::kDate);
  if (chown(host(kFile).c_str(), 1234, 4321) != 0) {
    GTEST_SKIP() << "only root can give a file away";
  }
  m_pc.Reopen();
  const auto file = m_pc.Get().Open(kFile, OpenMode::kReplace);
  ASSERT_TRUE(file != nullptr && file->Write("new", 3) && file->Close());
  ASSERT_EQ(stat(host(kFile).c_str(), &info), 0);
  EXPECT_EQ(info.st_uid, 1234U);
  EXPECT_EQ(info.st_gid, 4321U);
}

} // namespace
} // namespace kest::test
