#include "manager/validation.h"

#include "config/config_change.h"
#include "description/description_observer.h"
#include "description/element_table.h"
#include "description/extension.h"
#include "manager/validation_rules.h"
#include "platform/messages/messages.h"
#include "platform/text/nearest.h"
#include "platform/xml/xml_parser.h"

#include <algorithm>

namespace kest {

namespace {

constexpr std::size_t kMostFindings = 1000;

/// Hears what the reader passes over.
class Listener : public DescriptionObserver {
public:
  explicit Listener(ValidationFindings& findings) : m_findings(findings) {}

  void OnUnknownAttribute(int line, std::string_view element, std::string_view attribute) override {
    if (m_findings.IsFull()) {
      return;
    }
    CString near;
    for (const ElementRow* row = FindElement(element); row != nullptr; row = NextElement(row)) {
      for (const AttributeRow& known : row->attributes) {
        near = near.empty() && text::IsNear(attribute, known.name) ? CString(known.name) : near;
      }
    }
    m_findings.Warn(line, "unknown-attribute",
                    Tag(element) + " has no attribute \"" + CString(attribute) + "\": it is passed over" + Meant(near));
  }
  void OnDropped(int line, std::string_view element, std::string_view belongsIn) override {
    if (m_findings.IsFull()) {
      return;
    }
    CString near;
    for (const auto rows : {OwnElements(), ChangeElements()}) {
      for (const ElementRow& known : rows) {
        near = belongsIn.empty() && near.empty() && text::IsNear(element, known.name) ? CString(known.name) : near;
      }
    }
    m_findings.Warn(line, "dropped-element",
                    Tag(element) + " has no effect here" +
                        (belongsIn.empty() ? Meant(near) : ": it belongs in " + Tag(belongsIn)));
  }
  void OnForeignChange(int line, std::string_view element, std::string_view set) override {
    if (m_findings.IsFull()) {
      return;
    }
    CString near;
    for (const ElementRow& known : ChangeElements()) {
      near = near.empty() && text::IsNear(element, known.name) ? CString(known.name) : near;
    }
    m_findings.Error(line, "no-change",
                     Tag(element) + " is no change: " + Tag(set) + " cannot be applied with it" + Meant(near));
  }
  void OnFailure(int line, std::string_view reason) override {
    failureLine = line;
    failure = reason;
  }
  int failureLine = 0;
  CString failure;

private:
  static CString Meant(const CString& near) { return near.empty() ? CString() : "; did you mean \"" + near + "\"?"; }
  ValidationFindings& m_findings;
};

// The first element with an attribute that leads out of its folder; 0 when there is none.
int LineOfParentPath(std::string_view description) {
  const DescriptionOutline outline(description);
  for (const OutlineElement& element : outline.GetElements()) {
    for (const auto& [name, value] : element.attributes) {
      if (element.name == "file" && value.find("..") != CString::npos) {
        return element.line;
      }
    }
  }
  return 0;
}

void TellFailure(const Listener& listener, int loadCode, std::string_view description, ValidationFindings& findings) {
  const int line = loadCode == CKestExtension::kParentPath ? LineOfParentPath(description)
                   : loadCode == CKestExtension::kNoRoot   ? 1
                                                           : listener.failureLine;
  const CString words = DescribeLoadCode(loadCode);
  const bool more = !listener.failure.empty() && listener.failure != words;
  findings.Error(line, "unreadable", more ? words + ": " + listener.failure : words);
}

// What every extension must have to be installed.
void CheckItems(const CKestExtension& record, int line, ValidationFindings& findings) {
  const std::pair<bool, Message> items[] = {
      {record.GetName().empty(), Message::kItemName},
      {record.GetVersion().IsUnset(), Message::kItemVersion},
      {record.GetType() == 0 && record.GetTypeLabel().empty(), Message::kItemType},
      {record.GetAuthorName().empty(), Message::kItemAuthor},
      {!record.GetProducts().HasChildren(), Message::kItemProducts},
      {record.GetDesc().empty(), Message::kItemDescription},
      {record.GetUIAccess().empty(), Message::kItemUiAccess},
  };
  for (const auto& [missing, message] : items) {
    if (missing) {
      findings.Error(line, "missing-item", "missing: " + LoadMessage(message));
    }
  }
  if (record.GetType() == 0 && !record.GetTypeLabel().empty()) {
    findings.Warn(line, "unknown-type", "the type \"" + record.GetTypeLabel() + "\" is not known");
  }
}

} // namespace

CString DescribeLoadCode(int loadCode) {
  switch (loadCode) {
  case CKestExtension::kLoaded:
    return "it is in order";
  case CKestXMLParser::kUnreadable:
    return "the file cannot be read";
  case CKestExtension::kNoRoot:
    return "there is no \"kestrel-extension\" element";
  case CKestExtension::kBrokenTag:
    return "a tag ends with \"/ >\"; write \"/>\" without a blank";
  case CKestExtension::kParentPath:
    return "a file's source or destination holds \"..\"";
  case CKestXMLParser::kRefused:
    return "the XML holds something that is not allowed, or is too long or too deep";
  default:
    return "the XML is not well-formed";
  }
}

bool IsOneOf(std::string_view word, std::string_view choices) {
  const char first = word.empty() ? '|' : text::ToLower(word.front());
  for (std::size_t at = 0; at < choices.size();) {
    const std::size_t end = std::min(choices.find('|', at), choices.size());
    // nearly all are told apart by their first letter
    if (text::ToLower(choices[at]) == first && text::EqualNoCase(word, choices.substr(at, end - at))) {
      return true;
    }
    at = end + 1;
  }
  return false;
}

CString NearestOf(std::string_view word, std::string_view choices) {
  for (std::size_t at = 0; at <= choices.size();) {
    const std::size_t end = std::min(choices.find('|', at), choices.size());
    if (text::IsNear(word, choices.substr(at, end - at))) {
      return CString(choices.substr(at, end - at));
    }
    at = end + 1;
  }
  return {};
}

void ValidationFindings::Add(ValidationFinding::Severity severity, int line, const char* rule, CString text) {
  if (m_found.size() < kMostFindings) {
    m_found.push_back({severity, line, rule, std::move(text)});
  } else if (m_found.size() == kMostFindings) {
    m_found.push_back(
        {ValidationFinding::Severity::kError, line, "more", "there is more of the kind: mend these first"});
  }
}

bool ValidationFindings::IsFull() const { return m_found.size() > kMostFindings; }

std::vector<ValidationFinding> ValidationFindings::Take() {
  std::stable_sort(m_found.begin(), m_found.end(), [](const ValidationFinding& a, const ValidationFinding& b) {
    return a.line != 0 && (b.line == 0 || a.line < b.line);
  });
  return std::move(m_found);
}

std::vector<ValidationFinding> ValidateDescription(const ValidationSubject& subject, CKestExtension& record,
                                                   int& loadCode) {
  ValidationFindings findings;
  Listener listener(findings);
  loadCode = record.LoadText(subject.description, nullptr, &listener);
  if (loadCode != CKestExtension::kLoaded) {
    TellFailure(listener, loadCode, subject.description, findings);
    return findings.Take();
  }
  const DescriptionOutline outline(subject.description);
  CheckItems(record, outline.GetElements().empty() ? 0 : outline.At(0).line, findings);
  const ValidationRules rules{outline, record, subject, findings};
  rules.CheckElements();
  rules.CheckChanges();
  rules.CheckFiles();
  rules.CheckProducts();
  if (subject.product != nullptr) {
    rules.CheckOnProduct();
  }
  return findings.Take();
}

} // namespace kest
