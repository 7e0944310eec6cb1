#include "manager/description_outline.h"

#include "description/extension.h"
#include "platform/xml/xml_parser.h"

#include <algorithm>

namespace kest {

namespace {

class OutlineReader : public CKestXMLParser {
public:
  explicit OutlineReader(std::vector<OutlineElement>& elements) : m_elements(elements) {}

  int OnPreProcessLine(CString& line) override {
    CKestExtension::ConvertBadXml(line);
    return 0;
  }
  [[nodiscard]] bool MayRewrite(std::string_view text) const override {
    return !CKestExtension::NeedsNoConversion(text);
  }
  void OnElementStart(const char* name, CKestXMLAttributes& attributes) override {
    OutlineElement element;
    element.name = text::Lower(name);
    element.line = GetCurrentLine();
    element.parent = m_open.empty() ? -1 : m_open.back();
    while (const char* attribute = attributes.GetNextAttr()) {
      element.attributes.emplace_back(text::Lower(attribute), attributes.GetValue());
    }
    const int index = static_cast<int>(m_elements.size());
    if (element.parent >= 0) {
      m_elements[static_cast<std::size_t>(element.parent)].children.push_back(index);
    }
    m_elements.push_back(std::move(element));
    m_open.push_back(index);
  }
  void OnElementEnd(const char*) override {
    if (!m_open.empty()) {
      m_open.pop_back();
    }
  }
  void OnCData(const char* text, int length) override {
    if (!m_open.empty() && !text::Trimmed({text, static_cast<std::size_t>(length)}).empty()) {
      m_elements[static_cast<std::size_t>(m_open.back())].hasText = true;
    }
  }

private:
  std::vector<OutlineElement>& m_elements;
  std::vector<int> m_open;
};

} // namespace

CString OutlineElement::Get(std::string_view attribute) const {
  for (const auto& [known, value] : attributes) {
    if (known == attribute) {
      return CString(text::Trimmed(value));
    }
  }
  return {};
}

bool OutlineElement::Has(std::string_view attribute) const {
  return std::any_of(attributes.begin(), attributes.end(), [&](const auto& one) { return one.first == attribute; });
}

DescriptionOutline::DescriptionOutline(std::string_view description) {
  OutlineReader reader(m_elements);
  static_cast<void>(reader.ParseLines(description, false)); // what does not load is told by the load
}

std::string_view DescriptionOutline::ParentName(const OutlineElement& element) const {
  return element.parent < 0 ? std::string_view() : std::string_view(At(element.parent).name);
}

} // namespace kest
