#pragma once

#include "manager/description_outline.h"
#include "manager/validation.h"

namespace kest {

/// Collects what is found, no more than anybody reads.
class ValidationFindings {
public:
  void Error(int line, const char* rule, CString text) {
    Add(ValidationFinding::Severity::kError, line, rule, std::move(text));
  }
  void Warn(int line, const char* rule, CString text) {
    Add(ValidationFinding::Severity::kWarning, line, rule, std::move(text));
  }
  /// Nothing more is taken up; whoever looks for more may stop.
  [[nodiscard]] bool IsFull() const;
  [[nodiscard]] std::size_t GetCount() const { return m_found.size(); }
  /// In the order of the lines, those about none last.
  [[nodiscard]] std::vector<ValidationFinding> Take();

private:
  void Add(ValidationFinding::Severity severity, int line, const char* rule, CString text);
  std::vector<ValidationFinding> m_found;
};

/// What every rule sees: a description that loads.
struct ValidationRules {
  const DescriptionOutline& outline;
  const CKestExtension& record;
  const ValidationSubject& subject;
  ValidationFindings& findings;

  /// Names of elements, what they must say, what their values may be.
  void CheckElements() const;
  /// Change sets: what stands in them, places, ids, keys.
  void CheckChanges() const;
  /// Tokens, destinations, sources, and the files that items run.
  void CheckFiles() const;
  /// The products that are named, whoever is installed here.
  void CheckProducts() const;
  /// What only the subject's product can tell; call with one alone.
  void CheckOnProduct() const;
};

/// Whether `word` is one of "a|b|c", letter case aside.
[[nodiscard]] bool IsOneOf(std::string_view word, std::string_view choices);
/// The one of "a|b|c" that a user may have meant; empty when none is near.
[[nodiscard]] CString NearestOf(std::string_view word, std::string_view choices);
/// "<file>", for users to read.
[[nodiscard]] inline CString Tag(std::string_view name) { return "<" + CString(name) + ">"; }

/// The change sets, by their elements: "a|b|c".
inline constexpr std::string_view kConfigSets =
    "configuration-changes|toolbar-changes|insertbar-changes|server-behavior-changes|server-format-changes|"
    "server-format-definition-changes|data-source-changes|documenttype-changes|taglibrary-changes|"
    "source-format-changes|ftp-extension-map-changes|extensions-changes";
inline constexpr std::string_view kHelpSets = "help-changes|helpbook-changes"; ///< the same for help
/// Changes that hold what they insert.
inline constexpr std::string_view kInserts =
    "menu-insert|shortcut-insert|toolbar-insert|toolbar-item-insert|insertbar-insert|insertbar-item-insert|"
    "documenttype-insert|taglibrary-insert|helpbook-insert";

} // namespace kest
