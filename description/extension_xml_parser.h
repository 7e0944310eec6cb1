#pragma once

#include "description/extension.h"
#include "platform/text/containers.h"
#include "platform/xml/xml_parser.h"

namespace kest {

struct ElementRow;

/// Fills a record from the events of a description. A parser serves one parse. Current objects lie on the record's own
/// stack, which the constructor empties; whoever lets a parse fail empties it again before the parser goes (Load does).
class KEST_API CKestExtensionXMLParser : public CKestXMLParser {
public:
  /// `record` is borrowed; null: every event is ignored, and only the lines are checked.
  explicit CKestExtensionXMLParser(CKestExtension* record, DescriptionObserver* observer = nullptr);
  ~CKestExtensionXMLParser() override;
  /// Copies flags, record and messages, not the objects that the other has read.
  CKestExtensionXMLParser(const CKestExtensionXMLParser& other);
  CKestExtensionXMLParser& operator=(const CKestExtensionXMLParser& other); ///< the same

  /// Where the destinations of files are shared with other descriptions; borrowed. Without it they are shared within
  /// this one.
  void ShareDestinations(CKestExtensionFile::SharedDestinations* destinations) { m_destinations = destinations; }
  /// A root element was seen.
  [[nodiscard]] bool FoundExtensionTag() const { return m_foundRoot; }
  /// What the document says wrongly, in the order of discovery.
  [[nodiscard]] const CKestTypedList<CKestString>& GetErrorStrings() const { return m_errors; }

  /// Line from which on nothing more was read, since what the document holds takes far more memory than its own size;
  /// 0 when all of it was.
  [[nodiscard]] int GetLineTooMuch() const { return m_lineTooMuch; }

  int OnPreProcessLine(CString& line) override;
  void OnElementStart(const char* name, CKestXMLAttributes& attributes) override;
  void OnElementEnd(const char* name) override;
  void OnCData(const char* text, int length) override;
  void OnCDataSectionStart() override;
  void OnCDataSectionEnd() override;
  [[nodiscard]] bool MayRewrite(std::string_view text) const override;

private:
  void Apply(const ElementRow& row, const char* name, CKestXMLAttributes& attributes);
  void MakeObject(const ElementRow& row, const char* name, CKestXMLAttributes& attributes);
  void Capture(const char* name, CKestXMLAttributes& attributes, bool push);
  void ReadAttributes(const ElementRow& row, std::string_view element, CKestXmlObject& object,
                      CKestXMLAttributes& attributes);
  [[nodiscard]] CKestXmlObject* ContainerOf(const ElementRow& row) const;
  [[nodiscard]] CKestXmlObject* HomeOf(const ElementRow& row) const;
  [[nodiscard]] CKestExtensionFile::SharedDestinations& GetDestinations();
  /// Counts what an element takes in memory. False when that is too much.
  [[nodiscard]] bool Afford(std::string_view name, CKestXMLAttributes attributes);
  [[nodiscard]] bool Afford(std::size_t bytes);
  void StartText(const ElementRow& row);
  void AppendText(std::string_view text, bool closed);
  void ReportUnknown(std::string_view element, std::string_view attribute);
  void ReportDropped(std::string_view element, std::string_view belongsIn);
  void ReportForeign(const ElementRow& row, std::string_view element, const CKestXmlObject* home);

  bool m_inComment = false;
  bool m_inDescription = false;
  bool m_inUIAccess = false;
  bool m_inCData = false;
  bool m_inLicense = false;
  CKestExtension* m_record;
  bool m_foundRoot = false;
  std::size_t m_taken = 0;   ///< bytes of memory for what was read, roughly
  std::size_t m_longest = 0; ///< line, as it is parsed
  int m_lineTooMuch = 0;
  CKestTypedList<CKestString> m_errors;
  DescriptionObserver* m_observer;
  CKestExtensionFile::SharedDestinations* m_destinations = nullptr; ///< borrowed
  CKestExtensionFile::SharedDestinations m_ownDestinations;
  std::vector<std::unique_ptr<CKestXmlObject>> m_orphans; ///< objects without a parent, kept until the parser goes
};

} // namespace kest
