#pragma once

#include "journal/install_steps.h"
#include "journal/journal.h"

#include "platform/machine/file.h"
#include "platform/machine/os.h"
#include "platform/text/path.h"

#include "support/failing_machine.h"
#include "support/temp_machine.h"

#include <algorithm>
#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace kest::test {

inline constexpr const char* kRunOnce = "software\\microsoft\\windows\\currentversion\\runonce";
inline constexpr const char* kFontList = "software\\microsoft\\windows NT\\currentversion\\Fonts";

/// What an operation must leave alone or change as a whole: everything on the drives, and the two lists of the
/// registry, whose values are entries by "<key>:<name>".
struct MachineState : MachineSnapshot {
  [[nodiscard]] std::string Difference(const MachineSnapshot& later) const { return DescribeDifference(*this, later); }
};

inline MachineState StateOf(TempMachine& pc) {
  MachineState state;
  for (const auto& [path, entry] : pc.Snapshot().entries) {
    if (!path.starts_with("trash") && !path.ends_with(".reg") && path != "machine.ini") {
      // the name of a pending file is derived from the process's private folder; for comparing it is one name
      const std::size_t at = path.find("/rpl");
      state.entries[at == std::string::npos ? path : path.substr(0, at) + "/rpl.tmp"] = entry;
    }
  }
  for (const char* key : {kRunOnce, kFontList}) {
    std::vector<RegistryValue> values;
    static_cast<void>(pc.Get().EnumRegistryValues(RegistryRoot::kCurrentUser, key, values));
    for (const RegistryValue& value : values) {
      const bool pending = value.name.starts_with("rpl");
      state.entries[std::string(key) + ":" + (pending ? "rpl" : value.name)].hash =
          std::hash<std::string>()(pending ? "swap" : value.data);
    }
  }
  return state;
}

/// A machine with something for each kind of step.
inline void FillMachine(TempMachine& pc) {
  pc.Write("C:\\src\\font.ttf", "a font", 5000);
  pc.Write("C:\\src\\system.dll", "new dll", 5100);
  pc.Write("C:\\src\\plain.txt", "copied", 5200);
  pc.Write("C:\\windows\\system32\\system.dll", "old dll", 5300);
  pc.Write("C:\\app\\replaced.txt", "old bytes", 1000);
  pc.Write("C:\\app\\Marked.txt", "old marked bytes", 1100);
  pc.SetReadOnly("C:\\app\\Marked.txt", true);
  pc.Write("C:\\app\\Going Away.TXT", "deleted", 1200);
  pc.Write("C:\\app\\leaving\\inner.txt", "deleted with its folder", 1300);
  pc.SetReadOnly("C:\\app\\leaving\\inner.txt", true);
  pc.Write("C:\\app\\Menus.xml", "<menus/>", 1400);
  pc.Write("C:\\app\\Menus.xbk", "an earlier copy", 1500);
  pc.Write("C:\\app\\toolbars.xml", "<toolbars/>", 1600);
  pc.Write("C:\\app\\a.kei", "description", 1700);
  pc.MakeFolder("C:\\app\\Disabled");
  pc.Write("C:\\app\\Whole\\A.txt", "goes with its folder", 1800);
  pc.Write("C:\\app\\Whole\\b.txt", "goes too", 1900);
  Machine& machine = pc.Get();
  EXPECT_TRUE(machine.WriteRegistryString(RegistryRoot::kCurrentUser, kRunOnce, "other", "keep.exe"));
  EXPECT_TRUE(
      machine.WriteRegistryString(RegistryRoot::kCurrentUser, kFontList, "stale", "C:\\windows\\Fonts\\font.ttf"));
}

/// Writes what a package holds, straight into the temporary folder.
inline bool Unpack(const CString& name, const CString& content, CString& path) {
  CString folder;
  if (!CKestOS::GetTempPath(folder)) {
    return false;
  }
  path = folder + name;
  return CKestFile::WriteAll(path, content) && CKestOS::SetFileDateTime(path, CKestDateTime(9000));
}

/// The same into a folder of its own; `folder` without trailing backslash.
inline bool UnpackFolder(const std::vector<CString>& names, CString& folder) {
  if (!CKestOS::GetTempPath(folder) || !CKestOS::CreateDirectory(folder += "unpacked", false)) {
    return false;
  }
  CString path;
  return std::all_of(names.begin(), names.end(),
                     [&](const CString& name) { return Unpack("unpacked\\" + name, "of a folder", path); });
}

inline std::unique_ptr<CInstallCopyFile> MovedCopy(const CString& source, const CString& destination) {
  auto step = std::make_unique<CInstallCopyFile>(source, destination, false, true);
  step->SetMayMoveSource(true);
  return step;
}

/// A save, with a date of its own so that two runs can be compared.
inline bool Save(const CString& path, const CString& content) {
  return CKestFile::WriteAll(path, content) && CKestOS::SetFileDateTime(path, CKestDateTime(9100));
}

/// An operation with every kind of step, one inner operation that is handed over and one that is final. True when it
/// was committed; else it was undone as far as that was possible.
inline bool RunScript(CKestInstallJournal& journal) {
  JournalScope scope(journal, JournalScope::Kind::kOrdinary, "install Everything");
  CString first;
  CString second;
  CString finished;
  CString folder;
  if (!UnpackFolder({"x.txt", "y.txt"}, folder) || !Unpack("one.txt", "new bytes", first) ||
      !Unpack("two.txt", "new marked bytes", second) || !Unpack("made.kep", "a package", finished) ||
      AppendMakeWritable(&journal, "C:\\app\\marked.txt") != 0) {
    return false;
  }
  const CString plain = "C:\\app\\new\\deep\\plain.txt";
  std::vector<std::unique_ptr<CKestExtensionInstallStep>> pass;
  pass.push_back(std::make_unique<CInstallCreateFolder>("C:\\app\\new"));
  pass.push_back(std::make_unique<CInstallCreateFolder>("C:\\app\\new\\deep\\"));
  pass.push_back(
      std::make_unique<CInstallPlaceFolder>(folder, "C:\\app\\new\\whole", std::vector<CString>{"x.txt", "y.txt"}));
  pass.push_back(MovedCopy(first, "C:\\app\\Replaced.txt"));
  pass.push_back(MovedCopy(second, "C:\\app\\marked.txt"));
  pass.push_back(std::make_unique<CInstallCopyFile>("C:\\src\\plain.txt", plain, false, false));
  pass.push_back(std::make_unique<CInstallCopyFile>("C:\\src\\font.ttf", plain, false, false));
  pass.push_back(std::make_unique<CInstallAddFontResource>("C:\\src\\font.ttf", "C:\\windows\\Fonts\\font.ttf"));
  pass.push_back(
      std::make_unique<CInstallCopyFile>("C:\\src\\system.dll", "C:\\windows\\system32\\system.dll", true, false));
  const std::size_t count = pass.size();
  if (journal.Plan(std::move(pass)) != 0) {
    return false;
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (journal.RunNext() != 0) {
      return false;
    }
  }
  journal.EndPass();
  {
    JournalScope inner(journal);
    for (const char* path : {"C:\\app\\going away.txt", "C:\\app\\leaving\\inner.txt"}) {
      if (journal.Run(std::make_unique<CInstallDeleteFile>(path)) != 0) {
        return false;
      }
    }
    if (journal.Run(std::make_unique<CInstallDeleteFolder>("C:\\app\\LEAVING")) != 0 ||
        journal.Run(std::make_unique<CInstallDeleteWholeFolder>("C:\\app\\whole",
                                                                std::vector<CString>{"A.txt", "b.txt"})) != 0 ||
        journal.Run(std::make_unique<CInstallMoveFile>("C:\\app\\a.kei", "C:\\app\\Disabled\\a.kei")) != 0 ||
        journal.Run(std::make_unique<CInstallPlaceFile>(finished, "C:\\app\\Disabled\\a.kep")) != 0 ||
        !inner.Commit()) {
      return false;
    }
  }
  for (const char* name : {"Menus", "toolbars"}) {
    const CString file = CString("C:\\app\\") + name + ".xml";
    const CString copy = CString("C:\\app\\") + name + ".xbk";
    if (journal.Run(std::make_unique<CInstallBackupFile>(file, copy)) != 0 || !Save(file, "<changed/>")) {
      return false;
    }
  }
  if (AppendNewFile(&journal, "C:\\app\\fresh.xml") != 0 || !Save("C:\\app\\fresh.xml", "<fresh/>")) {
    return false;
  }
  return scope.Commit();
}

/// Runs `work` in a process of its own that is killed at its n-th changing call. True when it came to its end.
inline bool SurvivesInChild(const TempMachine& pc, int killAt, const std::function<void()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    MachineFolder folder(pc.GetRoot().string());
    FailingMachine machine(folder);
    machine.instead([] { kill(getpid(), SIGKILL); });
    machine.armForChanges(killAt);
    CKestOS::SetMachine(&machine);
    work();
    CKestOS::SetMachine(nullptr);
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) || WTERMSIG(status) == SIGKILL);
  return WIFEXITED(status);
}

} // namespace kest::test
