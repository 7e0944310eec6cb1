#include "description/extension_xml_parser.h"

#include "config/config_change.h"
#include "config/help_change.h"
#include "description/description_observer.h"
#include "description/element_table.h"
#include "menus/menu_changes.h"
#include "menus/shortcut_changes.h"

#include <algorithm>

namespace kest {

namespace {

constexpr std::string_view kBrokenEnd = "/ >";
constexpr std::string_view kSectionEnd = "]]>";

// What a plain object takes, an attribute of one, and a message about one that is not known: as measured, rounded up.
constexpr std::size_t kObjectBytes = 208;
constexpr std::size_t kAttributeBytes = 112;
constexpr std::size_t kRecordBytes = 16; // of an object with a class of its own, beside that
constexpr std::size_t kTextBytes = 16;   // of a text that is no short one, beside its characters
constexpr std::size_t kShortText = 15;
constexpr std::size_t kTextTimes = 2; // a text that grows leaves room
constexpr std::size_t kLineTimes = 3; // a line is rewritten, parsed and handed on in copies of its own
constexpr std::size_t kUsualLine = 64 * 1024;
// What all of them may take: so much in any case, and so many times the file's size. An operation has a description
// in memory twice, for what it writes is read again, beside the text; all of it stays below 64 MiB and eight times the
// file.
constexpr std::size_t kMostBytes = 24u << 20;
constexpr std::size_t kMostTimes = 2;

std::size_t BytesOfText(std::size_t length) { return length > kShortText ? length + kTextBytes : 0; }

bool IsChangeSet(const CKestXmlObject* object) {
  return dynamic_cast<const CKestConfigChanges*>(object) != nullptr ||
         dynamic_cast<const CKestHelpChanges*>(object) != nullptr;
}

bool GuardHolds(const ElementRow& row, const CKestXmlObject* current) {
  switch (row.guard) {
  case ElementRow::Guard::kHasCurrent:
    return current != nullptr;
  case ElementRow::Guard::kNoCurrent:
    return current == nullptr;
  case ElementRow::Guard::kInMenuInsert:
    return dynamic_cast<const CKestMenuChangeInsert*>(current) != nullptr;
  case ElementRow::Guard::kInShortcutInsert:
    return dynamic_cast<const CKestShortcutChangeInsert*>(current) != nullptr;
  case ElementRow::Guard::kAlways:
    break;
  }
  return true;
}

} // namespace

CKestExtensionXMLParser::CKestExtensionXMLParser(CKestExtension* record, DescriptionObserver* observer)
    : m_record(record), m_observer(observer) {
  if (record != nullptr) {
    record->ClearObjectStack();
  }
}

CKestExtensionXMLParser::~CKestExtensionXMLParser() = default;

CKestExtensionXMLParser::CKestExtensionXMLParser(const CKestExtensionXMLParser& other)
    : CKestXMLParser(other), m_inComment(other.m_inComment), m_inDescription(other.m_inDescription),
      m_inUIAccess(other.m_inUIAccess), m_inCData(other.m_inCData), m_inLicense(other.m_inLicense),
      m_record(other.m_record), m_foundRoot(other.m_foundRoot), m_taken(other.m_taken), m_longest(other.m_longest),
      m_lineTooMuch(other.m_lineTooMuch), m_errors(other.m_errors), m_observer(other.m_observer) {}

CKestExtensionXMLParser& CKestExtensionXMLParser::operator=(const CKestExtensionXMLParser& other) {
  if (this != &other) {
    CKestXMLParser::operator=(other);
    m_inComment = other.m_inComment;
    m_inDescription = other.m_inDescription;
    m_inUIAccess = other.m_inUIAccess;
    m_inCData = other.m_inCData;
    m_inLicense = other.m_inLicense;
    m_record = other.m_record;
    m_foundRoot = other.m_foundRoot;
    m_taken = other.m_taken;
    m_longest = other.m_longest;
    m_lineTooMuch = other.m_lineTooMuch;
    m_errors = other.m_errors;
    m_observer = other.m_observer;
  }
  return *this;
}

// ---- lines
// -------------------------------------------------------------------------------------------------------------

bool CKestExtensionXMLParser::MayRewrite(std::string_view text) const {
  return !CKestExtension::NeedsNoConversion(text) || text.find(kBrokenEnd) != std::string_view::npos;
}

int CKestExtensionXMLParser::OnPreProcessLine(CString& line) {
  if (line.find(kBrokenEnd) != CString::npos) {
    return CKestExtension::kBrokenTag;
  }
  if (m_record != nullptr) {
    CKestExtension::ConvertBadXml(line);
    m_longest = std::max(m_longest, line.size());
    if (!Afford(0)) {
      return kRefused;
    }
  }
  return 0;
}

// ---- elements
// ----------------------------------------------------------------------------------------------------------

bool CKestExtensionXMLParser::Afford(std::size_t bytes) {
  m_taken += bytes;
  const std::size_t line = kLineTimes * (m_longest - std::min(m_longest, kUsualLine));
  if (m_lineTooMuch == 0 && m_taken + line > kMostBytes + kMostTimes * GetDocumentSize()) {
    m_lineTooMuch = std::max(GetCurrentLine(), 1);
  }
  return m_lineTooMuch == 0;
}

bool CKestExtensionXMLParser::Afford(std::string_view name, CKestXMLAttributes attributes) {
  const ElementRow* row = FindElement(name);
  std::size_t bytes = row == nullptr ? kObjectBytes : row->bytes == 0 ? 0 : row->bytes + kRecordBytes;
  bytes += row != nullptr && row->push ? kObjectBytes : 0; // it gets children
  while (const char* attribute = attributes.GetNextAttr()) {
    bytes += BytesOfText(std::string_view(attributes.GetValue()).size());
    bytes += row == nullptr || FindAttributeRow(*row, attribute) == nullptr ? kAttributeBytes : 0;
  }
  return Afford(bytes);
}

void CKestExtensionXMLParser::OnElementStart(const char* name, CKestXMLAttributes& attributes) {
  if (m_record == nullptr || !Afford(name, attributes)) {
    return;
  }
  const CKestXmlObject* current = m_record->GetCurrentObject();
  for (const ElementRow* row = FindElement(name); row != nullptr; row = NextElement(row)) {
    if (GuardHolds(*row, current)) {
      Apply(*row, name, attributes);
      return;
    }
    if (row->otherwise == ElementRow::Otherwise::kIgnored) {
      ReportDropped(name, row->belongsIn);
      return;
    }
  }
  Capture(name, attributes, true);
}

void CKestExtensionXMLParser::Apply(const ElementRow& row, const char* name, CKestXMLAttributes& attributes) {
  switch (row.action) {
  case ElementRow::Action::kRoot:
    m_foundRoot = true;
    ReadAttributes(row, name, *m_record, attributes);
    break;
  case ElementRow::Action::kRecord:
    ReadAttributes(row, name, *m_record, attributes);
    break;
  case ElementRow::Action::kText:
    ReadAttributes(row, name, *m_record, attributes);
    StartText(row);
    break;
  case ElementRow::Action::kContainer: {
    CKestXmlObject* container = ContainerOf(row);
    ReadAttributes(row, name, *container, attributes);
    m_record->PushObject(container);
    break;
  }
  case ElementRow::Action::kPlainChild:
    Capture(name, attributes, false);
    break;
  case ElementRow::Action::kComment:
    m_inComment = true;
    MakeObject(row, name, attributes);
    break;
  case ElementRow::Action::kObject:
    MakeObject(row, name, attributes);
    break;
  }
}

CKestXmlObject* CKestExtensionXMLParser::ContainerOf(const ElementRow& row) const {
  switch (row.home) {
  case ElementRow::Home::kTokens:
    return &m_record->GetTokens();
  case ElementRow::Home::kFiles:
    return &m_record->GetFiles();
  case ElementRow::Home::kProducts:
    return &m_record->GetProducts();
  default:
    return nullptr;
  }
}

void CKestExtensionXMLParser::StartText(const ElementRow& row) {
  m_inDescription |= row.text == ElementRow::Text::kDescription;
  m_inUIAccess |= row.text == ElementRow::Text::kUIAccess;
  m_inLicense |= row.text == ElementRow::Text::kLicense;
}

// The object in which the row's objects go, here; null when the current object is not of the kind.
CKestXmlObject* CKestExtensionXMLParser::HomeOf(const ElementRow& row) const {
  CKestXmlObject* current = m_record->GetCurrentObject();
  switch (row.home) {
  case ElementRow::Home::kCurrent:
    return current;
  case ElementRow::Home::kConfigSet:
    return dynamic_cast<CKestConfigChanges*>(current);
  case ElementRow::Home::kHelpSet:
    return dynamic_cast<CKestHelpChanges*>(current);
  case ElementRow::Home::kTokens:
  case ElementRow::Home::kFiles:
  case ElementRow::Home::kProducts:
    return current == ContainerOf(row) ? current : nullptr;
  case ElementRow::Home::kRecordConfig:
  case ElementRow::Home::kRecordHelp:
  case ElementRow::Home::kNone:
    break;
  }
  return nullptr;
}

void CKestExtensionXMLParser::MakeObject(const ElementRow& row, const char* name, CKestXMLAttributes& attributes) {
  CKestXmlObject* object = nullptr;
  if (row.home == ElementRow::Home::kRecordConfig) {
    object = row.make().release();
    m_record->AddConfigChanges(static_cast<CKestConfigChanges*>(object));
  } else if (row.home == ElementRow::Home::kRecordHelp) {
    object = row.make().release();
    m_record->AddHelpChanges(static_cast<CKestHelpChanges*>(object));
  } else if (CKestXmlObject* home = HomeOf(row); home != nullptr) {
    ReportForeign(row, name, home);
    object = home->AppendChild(row.make());
  } else {
    ReportDropped(name, row.belongsIn);
    if (!row.push) {
      return;
    }
    object = m_orphans.emplace_back(row.make()).get();
  }
  ReadAttributes(row, name, *object, attributes);
  if (row.home == ElementRow::Home::kFiles) {
    static_cast<CKestExtensionFile&>(*object).ShareDestination(GetDestinations());
  }
  if (row.push) {
    m_record->PushObject(object);
  }
}

CKestExtensionFile::SharedDestinations& CKestExtensionXMLParser::GetDestinations() {
  return m_destinations != nullptr ? *m_destinations : m_ownDestinations;
}

// What no row names becomes a plain object, with all its attributes: so the payload of changes is captured.
void CKestExtensionXMLParser::Capture(const char* name, CKestXMLAttributes& attributes, bool push) {
  auto made = std::make_unique<CKestXmlObject>(std::string_view(name));
  while (const char* attribute = attributes.GetNextAttr()) {
    made->AppendAttribute(attribute, attributes.GetValue());
  }
  CKestXmlObject* current = m_record->GetCurrentObject();
  CKestXmlObject* object = made.get();
  if (current != nullptr) {
    if (m_observer != nullptr && IsChangeSet(current)) {
      m_observer->OnForeignChange(GetCurrentLine(), name, current->GetTag());
    }
    current->AppendChild(std::move(made));
  } else {
    ReportDropped(name, {});
    m_orphans.push_back(std::move(made));
  }
  if (push) {
    m_record->PushObject(object);
  }
}

void CKestExtensionXMLParser::ReadAttributes(const ElementRow& row, std::string_view element, CKestXmlObject& object,
                                             CKestXMLAttributes& attributes) {
  while (const char* name = attributes.GetNextAttr()) {
    const AttributeRow* known = FindAttributeRow(row, name);
    if (known != nullptr && known->isDestination) {
      static_cast<CKestExtensionFile&>(object).SetDestination(attributes.GetValue(), GetDestinations());
    } else if (known != nullptr) {
      known->read(object, attributes.GetValue());
    } else if (row.unknown == ElementRow::Unknown::kReport) {
      ReportUnknown(element, name);
    } else if (row.unknown == ElementRow::Unknown::kKeep) {
      object.AppendAttribute(name, attributes.GetValue());
    }
    if (row.unknown == ElementRow::Unknown::kFirstOnly) {
      return;
    }
  }
}

void CKestExtensionXMLParser::ReportUnknown(std::string_view element, std::string_view attribute) {
  m_errors.Append("Unknown attribute: " + CString(attribute) + ".");
  if (m_observer != nullptr) {
    m_observer->OnUnknownAttribute(GetCurrentLine(), element, attribute);
  }
}

void CKestExtensionXMLParser::ReportDropped(std::string_view element, std::string_view belongsIn) {
  if (m_observer != nullptr) {
    m_observer->OnDropped(GetCurrentLine(), element, belongsIn);
  }
}

void CKestExtensionXMLParser::ReportForeign(const ElementRow& row, std::string_view element,
                                            const CKestXmlObject* home) {
  if (m_observer != nullptr && row.action == ElementRow::Action::kComment && IsChangeSet(home)) {
    m_observer->OnForeignChange(GetCurrentLine(), element, home->GetTag());
  }
}

void CKestExtensionXMLParser::OnElementEnd(const char* name) {
  if (m_record == nullptr) {
    return;
  }
  const std::string_view tag = name;
  const CKestXmlObject* current = m_record->GetCurrentObject();
  if (current == nullptr && text::EqualNoCase(tag, "description")) {
    m_inDescription = false;
  } else if (text::EqualNoCase(tag, "ui-access")) {
    m_inUIAccess = false;
  } else if (text::EqualNoCase(tag, "license-agreement")) {
    m_inLicense = false;
  } else if (text::EqualNoCase(tag, "comment")) {
    m_inComment = false;
    m_record->PopObject();
  } else if (current != nullptr && current->HasTag(tag)) {
    m_record->PopObject();
  }
}

// ---- text
// --------------------------------------------------------------------------------------------------------------

void CKestExtensionXMLParser::OnCDataSectionStart() {
  if (m_record != nullptr) {
    m_inCData = true;
  }
}

void CKestExtensionXMLParser::OnCDataSectionEnd() {
  if (m_record != nullptr) {
    m_inCData = false;
  }
}

void CKestExtensionXMLParser::OnCData(const char* text, int length) {
  if (m_record == nullptr || text == nullptr || length <= 0) {
    return;
  }
  std::string_view piece(text, static_cast<std::size_t>(length));
  if (m_inComment) {
    if (auto* comment = dynamic_cast<CKestXmlComment*>(m_record->GetCurrentObject())) {
      comment->AppendText(piece.substr(0, piece.find("</")));
    }
    return;
  }
  if (!m_inCData) {
    piece = text::Trimmed(piece);
  }
  if (piece.empty()) {
    return;
  }
  const std::size_t end = m_inCData ? piece.find(kSectionEnd) : std::string_view::npos;
  AppendText(piece.substr(0, end), end != std::string_view::npos);
}

// `closed`: the CDATA section ended in this piece, and the element's text with it.
void CKestExtensionXMLParser::AppendText(std::string_view text, bool closed) {
  if (!Afford(kTextTimes * text.size())) {
    return;
  }
  if (m_inDescription) {
    m_inDescription = !closed;
    m_record->AppendDesc(text.starts_with('\n') ? text : text::Trimmed(text));
  } else if (m_inUIAccess) {
    m_inUIAccess = !closed;
    m_record->AppendUIAccess(text);
  } else if (m_inLicense) {
    m_inLicense = !closed;
    m_record->AppendLicenseAgreement(text);
  } else if (CKestXmlObject* current = m_record->GetCurrentObject()) {
    current->AppendValue(text);
    current->SetInCData(m_inCData);
  }
}

} // namespace kest
