#include "manager/description_outline.h"

#include "description/extension.h"
#include "platform/xml/xml_parser.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace kest {

class DescriptionOutline::Reader : public CKestXMLParser {
public:
  explicit Reader(DescriptionOutline& outline) : m_outline(outline) {}

  int OnPreProcessLine(CString& line) override {
    CKestExtension::ConvertBadXml(line);
    return 0;
  }
  [[nodiscard]] bool MayRewrite(std::string_view text) const override {
    return !CKestExtension::NeedsNoConversion(text);
  }
  void OnElementStart(const char* name, CKestXMLAttributes& attributes) override {
    OutlineElement element;
    element.name = Intern(name);
    element.line = GetCurrentLine();
    m_read.clear();
    while (const char* attribute = attributes.GetNextAttr()) {
      m_read.emplace_back(Intern(attribute), Keep(attributes.GetValue()));
    }
    std::pmr::polymorphic_allocator<OutlineAttribute> allocator(&m_outline.m_attributes);
    OutlineAttribute* const kept = allocator.allocate(m_read.size());
    std::uninitialized_copy(m_read.begin(), m_read.end(), kept);
    element.attributes = {kept, m_read.size()};
    const int index = static_cast<int>(m_outline.m_elements.size());
    if (!m_open.empty()) {
      auto& [parent, lastChild] = m_open.back();
      element.parent = parent;
      (lastChild < 0 ? Edit(parent).firstChild : Edit(lastChild).nextSibling) = index;
      lastChild = index;
    }
    m_outline.m_elements.push_back(element);
    m_open.push_back({index, -1});
  }
  void OnElementEnd(const char*) override {
    if (!m_open.empty()) {
      m_open.pop_back();
    }
  }
  void OnCData(const char* text, int length) override {
    if (!m_open.empty() && !text::Trimmed({text, static_cast<std::size_t>(length)}).empty()) {
      Edit(m_open.back().index).hasText = true;
    }
  }

private:
  struct Open {
    int index;
    int lastChild;
  };
  [[nodiscard]] OutlineElement& Edit(int index) { return m_outline.m_elements[static_cast<std::size_t>(index)]; }
  [[nodiscard]] std::string_view Intern(std::string_view name) {
    return *m_outline.m_names.insert(text::Lower(name)).first;
  }
  [[nodiscard]] std::string_view Keep(std::string_view value) {
    std::pmr::polymorphic_allocator<char> allocator(&m_outline.m_attributes);
    char* const kept = allocator.allocate(value.size());
    std::copy(value.begin(), value.end(), kept);
    return {kept, value.size()};
  }

  DescriptionOutline& m_outline;
  std::vector<Open> m_open;
  std::vector<OutlineAttribute> m_read; ///< of the element at hand
};

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
  Reader reader(*this);
  static_cast<void>(reader.ParseLines(description, false)); // what does not load is told by the load
}

std::string_view DescriptionOutline::ParentName(const OutlineElement& element) const {
  return element.parent < 0 ? std::string_view() : At(element.parent).name;
}

} // namespace kest
