#pragma once

#include "products/tidemark.h"

namespace kest {

/// The application-server edition of the web editor.
class KEST_API CKestVantage : public CKestTidemark {
public:
  using CKestTidemark::RequiresRestart;
  [[nodiscard]] bool RequiresRestart(CKestExtension* extension, bool installing) const override;
  [[nodiscard]] bool Supports(const char* productName, const char* version) const override;
  void MapTokens(const CString& destination, const CString& userFolder, CKestTokenMap& tokens) const override;

protected:
  explicit CKestVantage(const WebEditorConstants& constants);
};

class KEST_API CKestVantage1 : public CKestVantage {
public:
  CKestVantage1();
};

class KEST_API CKestVantage4 : public CKestVantage {
public:
  CKestVantage4();
  void DetermineExecutableFileName(const CString& installFolder) override;
};

} // namespace kest
