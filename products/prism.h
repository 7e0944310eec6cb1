#pragma once

#include "products/shipped_product.h"

namespace kest {

/// What graphics editors have beside the rest. One row a class, in prism.cpp.
struct GraphicsEditorConstants {
  ProductConstants product;
  std::span<const char* const> executables; ///< the first that exists; the first one when none does
  const char* configurationFolder;
  const char* foreignConfigurationFolder; ///< what other versions call it
};

/// The graphics editor.
class KEST_API CKestPrism : public CKestShippedProduct {
public:
  void GetConfigurationFolderName(CString& name) const override;
  void MassageDestination(CString& destination) const override;
  void DetermineExecutableFileName(const CString& installFolder) override;
  virtual void SetVersion(CKestVersionNumber& version);
  using CKestProduct::GetConfigurationFolderName;

protected:
  /// The row must outlive the product.
  explicit CKestPrism(const GraphicsEditorConstants& constants);

private:
  const GraphicsEditorConstants& m_constants;
};

class KEST_API CKestPrism3 : public CKestPrism {
public:
  CKestPrism3();
};

class KEST_API CKestPrism4 : public CKestPrism {
public:
  CKestPrism4();
};

class KEST_API CKestPrism6 : public CKestPrism {
public:
  CKestPrism6();
};

} // namespace kest
