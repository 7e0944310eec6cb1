#pragma once

#include "platform/xml/xml_object.h"

namespace kest {

/// Takes back the line conversions that the description reader made, in text that the parser does not decode.
KEST_API void RevertLineConversions(CString& value);
/// Takes back what writing made of text-level objects, so that the description holds their own text again: for objects
/// whose written form is not reverted as a whole.
KEST_API void RevertEscapes(CString& xml);
/// Decodes the five predefined references and numeric ones up to `largest`, once. A reference that a reader keeps
/// (another name, a larger number) takes the form in which the reader reports it: byte 1 for its "&".
KEST_API void DecodeReferences(CString& value, unsigned largest = 255);
/// A copy of a payload object of a description, brought from the description's text level to the value level of a
/// generic file: references decoded in attributes and text, line conversions taken back in CDATA. `singleByte`: every
/// byte of the file is a character, so that numbers above 127 are decoded as well.
[[nodiscard]] KEST_API std::unique_ptr<CKestXmlObject> CopyPayload(const CKestXmlObject& payload, bool singleByte);
/// The same, assigned to `target` in place, so that pointers to it stay good.
KEST_API void AssignPayload(CKestXmlObject& target, const CKestXmlObject& payload, bool singleByte);

} // namespace kest
