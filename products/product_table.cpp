#include "products/product_table.h"

#include "products/marlin.h"
#include "products/prism.h"
#include "products/quarry.h"
#include "products/vantage.h"

namespace kest {

namespace {

template <class Product> std::unique_ptr<CKestProduct> Make() { return std::make_unique<Product>(); }

constexpr ProductMaker kNamed[] = {
    {"Tidemark 4", Make<CKestTidemark4>},
    {"Tidemark Nova", Make<CKestTidemark6>},
    {"Tidemark Vantage 4", Make<CKestVantage4>},
    {"Prism 4", Make<CKestPrism4>},
    {"Prism Nova", Make<CKestPrism6>},
    {"Marlin 5", Make<CKestMarlin5>},
    {"Marlin 6", Make<CKestMarlin6>},
    {"Marlin Nova", Make<CKestMarlin6>},
};

constexpr ProductMaker kServed[] = {
    {"Tidemark 4", Make<CKestTidemark4>},    {"Tidemark Vantage 4", Make<CKestVantage4>},
    {"Tidemark Nova", Make<CKestTidemark6>}, {"Prism 4", Make<CKestPrism4>},
    {"Prism Nova", Make<CKestPrism6>},       {"Marlin 5", Make<CKestMarlin5>},
    {"Marlin Nova", Make<CKestMarlin6>},     {"Quarry 2", Make<CKestQuarry2>},
};

} // namespace

std::span<const ProductMaker> GetNamedProducts() { return kNamed; }
std::span<const ProductMaker> GetServedProducts() { return kServed; }

std::unique_ptr<CKestProduct> CreateProduct(const CString& name, const CString& installFolder) {
  for (const ProductMaker& maker : kNamed) {
    if (text::CompareNoCase(maker.name, name) == 0) {
      std::unique_ptr<CKestProduct> product = maker.make();
      product->Initialize();
      if (!installFolder.empty()) {
        product->SetPaths(installFolder, CString());
      }
      return product;
    }
  }
  return nullptr;
}

std::vector<std::unique_ptr<CKestProduct>> MakeServedProducts() {
  std::vector<std::unique_ptr<CKestProduct>> products;
  for (const ProductMaker& maker : kServed) {
    products.push_back(maker.make());
  }
  return products;
}

} // namespace kest
