#include "config/pending_markup.h"

namespace kest {

std::unique_ptr<CKestXmlMisc> CollectMarkup(CString& pending, std::string_view piece) {
  const std::string_view text = text::Trimmed(piece);
  if (text.empty() || text == "<?xml  version='1.0'  encoding='iso-8859-1'  ?>") {
    return nullptr;
  }
  // the mark that ends a document type comes alone and stands without a blank
  if (!pending.empty() && text != ">") {
    pending += ' ';
  }
  pending += text;
  if (text.back() != '>') {
    return nullptr;
  }
  auto misc = std::make_unique<CKestXmlMisc>(pending);
  pending.clear();
  return misc;
}

} // namespace kest
