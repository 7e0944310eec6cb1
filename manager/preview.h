#pragma once

#include "platform/machine/overlay_machine.h"
#include "platform/text/export.h"

#include <map>
#include <vector>

namespace kest {

/// One thing that an operation would do, or a person should know before it does it. Texts are the machine's; what is
/// not known or does not fit is empty.
struct PreviewEntry {
  /// What it is about, in the order of a person's interest.
  enum class Kind {
    kRecovery,  ///< an interrupted operation that would be taken back first
    kQuestion,  ///< the user would be asked
    kExtension, ///< an extension would be replaced, disabled or left out
    kClash,     ///< it takes or meets what belongs to something else
    kMenu,      ///< a menu or menu bar
    kMenuItem,  ///< an item of a menu
    kShortcut,  ///< keys of a shortcut list
    kButton,    ///< of a toolbar or of the insert bar
    kCategory,  ///< of the insert bar, or a toolbar
    kListEntry, ///< a line of a list, of a map of file types, or an entry of another configuration file
    kFormat,    ///< a server format, or the format of a tag in source code
    kTag,       ///< a tag, tag library or attribute
    kFile,      ///< a file that is no configuration file
    kRegistry,  ///< a value
    kRestart,   ///< the product or the machine
    kLeftOut,   ///< part of the description that has no effect
  };
  /// What becomes of it.
  enum class Change { kNone, kAdded, kRemoved, kMoved, kChanged, kKept }; // kNone: told alone

  Kind kind = Kind::kFile;       ///< what it is about
  Change change = Change::kNone; ///< what becomes of it
  CString name;                  ///< as a person knows it: the text of a menu item, keys, a path, a question
  CString id;                    ///< of an entry in a configuration file
  CString file;                  ///< windows path of the configuration file
  CString parent;                ///< what holds it: names from the outermost in, with " > " between them
  CString after;                 ///< name of the entry that it stands after; empty: it is the first, or has no place
  CString note;                  ///< the rest of a sentence: "which Other has now", why a file is kept
  CString advice;                ///< what to do about it, such as the flag that answers a question
};

/// What an operation would do.
struct Preview {
  std::vector<PreviewEntry> entries; ///< grouped by kind, each group in the order of the files
  /// A configuration file that changes.
  struct File {
    CString path;   ///< windows path
    CString before; ///< its bytes; empty for a file that is made
    CString after;  ///< its bytes then
  };
  std::vector<File> files; ///< in the order in which they are changed
};

struct OperationReport;
struct RecoveryReport;

/// Tells what operations would do, from what they did on an overlay. One for each overlay, since an operation that
/// follows another begins with what that one left.
class KEST_API PreviewMaker {
public:
  explicit PreviewMaker(OverlayMachine& machine) : m_machine(machine) {} ///< borrowed

  /// Of the operation that the report (the engine's last one) is about.
  [[nodiscard]] Preview Make(const OperationReport& report);
  /// What a start of the engine took back on the overlay: that would come first.
  [[nodiscard]] static std::vector<PreviewEntry> Describe(const RecoveryReport& recovery);

private:
  void AddReport(const OperationReport& report, Preview& preview);
  void AddConfiguration(const OperationReport& report, Preview& preview);
  void AddFiles(const OperationReport& report, Preview& preview) const;

  OverlayMachine& m_machine;
  std::map<CString, CString> m_left; ///< configuration files as the operations before left them
  std::size_t m_registryTold = 0;
};

} // namespace kest
