#pragma once

#include "description/extension.h"
#include "support/source_folder.h"
#include "support/temp_machine.h"

#include <gtest/gtest.h>

#include <string>

namespace kest::test {

/// The sample that holds every element and every kind of change.
[[nodiscard]] inline std::string SampleDescription() {
  const std::string content = ReadHostFile(SourceFolder() + "/tests/data/description/every_element.kei");
  EXPECT_FALSE(content.empty()) << "the sample is missing";
  return content;
}

/// A description with `inner` in its root element.
[[nodiscard]] inline std::string Description(std::string_view inner) {
  return "<kestrel-extension name=\"Sample\" version=\"1.0\">\n" + std::string(inner) + "\n</kestrel-extension>\n";
}

/// A record read from the text; a failure is the test's.
[[nodiscard]] inline CKestExtension Record(std::string_view text) {
  CKestExtension record;
  EXPECT_EQ(record.LoadText(text, nullptr), CKestExtension::kLoaded) << text.substr(0, 2000);
  return record;
}

[[nodiscard]] inline CKestExtension RecordOf(std::string_view inner) { return Record(Description(inner)); }

[[nodiscard]] inline std::string Written(const CKestXmlObject& object) {
  CString text;
  object.BuildXml(0, text);
  return text;
}

} // namespace kest::test
