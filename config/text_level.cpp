#include "config/text_level.h"

#include <array>
#include <charconv>

namespace kest {
namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kReversed{
    {{"&amp;", "&"}, {"&lt;%", "<%"}, {"%&gt;", "%>"}, {"+&lt;", "+<"}, {"+&gt;", "+>"}, {"&apos;", "'"}}};

constexpr std::array<std::pair<std::string_view, char>, 5> kPredefined{
    {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}}};

/// What readers and writers of generic files put for the "&" of a reference that stays one.
constexpr char kKeptReference = '\1';

bool IsNameByte(char c, bool first) {
  const auto byte = static_cast<unsigned char>(c);
  const bool letter = (byte | 0x20) >= 'a' && (byte | 0x20) <= 'z';
  return letter || byte >= 0x80 || c == '_' || c == ':' || (!first && ((c >= '0' && c <= '9') || c == '-' || c == '.'));
}

/// What a reference stands for, `name` being what lies between its "&" and ";". Nothing for what is no reference.
CString Decoded(std::string_view name, unsigned largest) {
  for (const auto& [known, character] : kPredefined) {
    if (name == known) {
      return CString(1, character);
    }
  }
  if (name.size() > 1 && name[0] == '#') {
    const bool hex = name[1] == 'x';
    const std::string_view digits = name.substr(hex ? 2 : 1);
    unsigned long code = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), code, hex ? 16 : 10);
    if (error != std::errc{} || end != digits.data() + digits.size()) {
      return {};
    }
    if (code > largest) {
      return kKeptReference + CString(name) + ";";
    }
    const bool character = code >= 32 || code == 9 || code == 10 || code == 13;
    return character ? CString(1, static_cast<char>(code)) : CString{};
  }
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (!IsNameByte(name[i], i == 0)) {
      return {};
    }
  }
  return name.empty() ? CString{} : kKeptReference + CString(name) + ";";
}

} // namespace

void RevertLineConversions(CString& value) {
  if (value.find('&') == CString::npos) {
    return;
  }
  for (const auto& [from, to] : kReversed) {
    text::ReplaceAll(value, from, to);
  }
}

// Ampersands last: an escape that they complete was in the text before it was written.
void RevertEscapes(CString& xml) {
  for (auto row = kReversed.rbegin(); row != kReversed.rend(); ++row) {
    text::ReplaceAll(xml, row->first, row->second);
  }
}

void DecodeReferences(CString& value, unsigned largest) {
  constexpr std::size_t kLongestName = 64;
  std::size_t at = value.find('&');
  if (at == CString::npos) {
    return;
  }
  CString out(value, 0, at);
  while (at < value.size()) {
    if (value[at] != '&') {
      out += value[at++];
      continue;
    }
    const std::size_t end = value.substr(at + 1, kLongestName).find(';');
    const CString decoded =
        end == CString::npos ? CString{} : Decoded(std::string_view(value).substr(at + 1, end), largest);
    if (decoded.empty()) {
      out += value[at++];
      continue;
    }
    out += decoded;
    at += end + 2;
  }
  value = std::move(out);
}

namespace {

void BringToValueLevel(CKestXmlObject& object, unsigned largest) {
  if (auto* comment = dynamic_cast<CKestXmlComment*>(&object)) {
    CString text = comment->GetText();
    DecodeReferences(text, largest);
    comment->SetText(text);
    return;
  }
  for (std::size_t i = 0; i < object.GetAttributes().size(); ++i) {
    CString decoded = object.GetAttributes()[i].second;
    if (decoded.find('&') != CString::npos) {
      DecodeReferences(decoded, largest);
      object.SetAttributeAt(i, decoded); // by place: names may differ in letter case alone
    }
  }
  if (!object.GetValue().empty()) {
    CString value = object.GetValue();
    if (object.IsInCData()) {
      RevertLineConversions(value);
    } else {
      DecodeReferences(value, largest);
    }
    object.SetValue(value);
  }
  for (const auto& child : object.GetChildren()) {
    BringToValueLevel(*child, largest);
  }
}

constexpr unsigned LargestDecoded(bool singleByte) { return singleByte ? 255 : 127; }

} // namespace

std::unique_ptr<CKestXmlObject> CopyPayload(const CKestXmlObject& payload, bool singleByte) {
  auto copy = payload.Clone();
  BringToValueLevel(*copy, LargestDecoded(singleByte));
  return copy;
}

void AssignPayload(CKestXmlObject& target, const CKestXmlObject& payload, bool singleByte) {
  target = payload;
  BringToValueLevel(target, LargestDecoded(singleByte));
}

} // namespace kest
