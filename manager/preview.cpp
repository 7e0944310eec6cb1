#include "manager/preview.h"

#include "journal/journal.h"
#include "manager/config_entries.h"
#include "manager/operation_report.h"

#include <algorithm>
#include <unordered_set>

namespace kest {
namespace {

using Kind = PreviewEntry::Kind;
using Change = PreviewEntry::Change;

/// The bytes of a file of this machine; empty when it has none of that path.
CString ReadFrom(Machine& machine, const CString& path) {
  CString content;
  const std::unique_ptr<MachineFile> file =
      IsYes(machine.FileExists(path)) ? machine.Open(path, OpenMode::kRead) : nullptr;
  char block[16384];
  for (std::int64_t got = file != nullptr ? 1 : 0; got > 0;) {
    got = file->Read(block, sizeof block);
    content.append(block, static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
  }
  return content;
}

const char* WhyKept(OperationReport::Why why) {
  switch (why) {
  case OperationReport::Why::kShared:
    return "another extension uses it";
  case OperationReport::Why::kFont:
    return "it is a font";
  case OperationReport::Why::kSystemFile:
    return "it is a system file";
  case OperationReport::Why::kUserAnswer:
    break;
  }
  return "as answered";
}

PreviewEntry EntryOf(Kind kind, Change change, const CString& name, const CString& note = {}) {
  PreviewEntry entry;
  entry.kind = kind;
  entry.change = change;
  entry.name = name;
  entry.note = note;
  return entry;
}

} // namespace

void PreviewMaker::AddConfiguration(const OperationReport& report, Preview& preview) {
  std::unordered_set<CString> seen;
  for (const CString& path : report.configuration) {
    const CString key = text::Lower(path);
    if (!seen.insert(key).second) {
      continue;
    }
    const auto known = m_left.find(key);
    Preview::File file{path, known != m_left.end() ? known->second : ReadFrom(m_machine.GetBelow(), path),
                       ReadFrom(m_machine, path)};
    if (file.before == file.after) {
      continue;
    }
    m_left[key] = file.after;
    CompareConfiguration(path, file.before, file.after, preview.entries);
    preview.files.push_back(std::move(file));
  }
}

void PreviewMaker::AddFiles(const OperationReport& report, Preview& preview) const {
  std::unordered_set<CString> configuration;
  for (const CString& path : report.configuration) {
    configuration.insert(text::Lower(path));
  }
  const auto add = [&](const std::vector<CString>& paths, Change change) {
    for (const CString& path : paths) {
      Machine& machine = change == Change::kRemoved ? m_machine.GetBelow() : m_machine;
      if (!IsYes(machine.DirectoryExists(path))) {
        preview.entries.push_back(
            EntryOf(Kind::kFile, change, path, configuration.count(text::Lower(path)) != 0 ? "configuration" : ""));
      }
    }
  };
  add(report.created, Change::kAdded);
  add(report.changed, Change::kChanged);
  add(report.deleted, Change::kRemoved);
  for (const OperationReport::Kept& kept : report.kept) {
    preview.entries.push_back(EntryOf(Kind::kFile, Change::kKept, kept.path, WhyKept(kept.why)));
  }
}

void PreviewMaker::AddReport(const OperationReport& report, Preview& preview) {
  if (!report.replaced.empty()) {
    const bool isSame = text::EqualNoCase(report.replaced, report.extension);
    preview.entries.push_back(
        EntryOf(Kind::kExtension, Change::kRemoved,
                report.replaced + (report.replacedVersion.empty() ? "" : " " + report.replacedVersion),
                isSame ? "replaced by version " + report.version : CString("disabled")));
  }
  for (const OperationReport::Problem& problem : report.problems) {
    if (!problem.fatal) {
      PreviewEntry entry = EntryOf(Kind::kClash, Change::kNone, problem.change, problem.reason);
      entry.file = problem.path;
      entry.advice = problem.next;
      preview.entries.push_back(std::move(entry));
    }
  }
  for (const Clash& clash : report.clashes) {
    if (clash.rule == std::string_view("place-missing")) {
      continue; // a problem of the change tells it
    }
    PreviewEntry entry = EntryOf(clash.isLeftOut ? Kind::kLeftOut : Kind::kClash, Change::kNone, clash.text);
    entry.file = clash.file;
    preview.entries.push_back(std::move(entry));
  }
  AddConfiguration(report, preview);
  AddFiles(report, preview);
  for (const OperationReport& part : report.parts) {
    if (!part.Succeeded()) {
      preview.entries.push_back(EntryOf(Kind::kExtension, Change::kKept,
                                        part.extension + (part.version.empty() ? "" : " " + part.version),
                                        part.problems.empty() ? CString("left out") : part.problems.front().reason));
    }
    AddReport(part, preview);
  }
  if (report.restartMachine || report.restartProduct) {
    preview.entries.push_back(
        EntryOf(Kind::kRestart, Change::kNone, report.restartMachine ? CString("the computer") : report.product));
  }
}

Preview PreviewMaker::Make(const OperationReport& report) {
  Preview preview;
  AddReport(report, preview);
  const std::vector<OverlayMachine::RegistryChange>& registry = m_machine.GetRegistryChanges();
  for (; m_registryTold < registry.size(); ++m_registryTold) {
    const OverlayMachine::RegistryChange& one = registry[m_registryTold];
    preview.entries.push_back(EntryOf(Kind::kRegistry, one.data ? Change::kAdded : Change::kRemoved,
                                      RegistryPath(one.root, one.key) + '\\' + one.name, one.data.value_or("")));
  }
  std::stable_sort(preview.entries.begin(), preview.entries.end(),
                   [](const PreviewEntry& a, const PreviewEntry& b) { return a.kind < b.kind; });
  // parts of an operation may name one file twice
  std::unordered_set<CString> seen;
  std::erase_if(preview.entries, [&](const PreviewEntry& one) {
    return one.kind == Kind::kFile && !seen.insert(text::Lower(one.name)).second;
  });
  return preview;
}

std::vector<PreviewEntry> PreviewMaker::Describe(const RecoveryReport& recovery) {
  std::vector<PreviewEntry> entries;
  for (const RecoveryReport::Entry& one : recovery.entries) {
    entries.push_back(EntryOf(Kind::kRecovery, Change::kNone, one.operation,
                              !one.leftovers.empty() ? "could be taken back in part only"
                              : one.finished         ? "its clean-up would be completed first"
                                                     : "would be taken back first"));
  }
  return entries;
}

} // namespace kest
