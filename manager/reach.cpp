#include "manager/reach.h"

#include "journal/history.h"
#include "manager/installed_record.h"
#include "platform/machine/os.h"
#include "products/product_table.h"

namespace kest {
namespace {

void AddProduct(const CKestProduct& product, Reach& reach) {
  CString shared;
  product.GetSharedExtensionsFolder(shared);
  for (const CString& folder :
       {product.GetProgramFolder(), product.GetInstallFolder(), product.GetExtensionsFolder(), shared}) {
    reach.Add(folder);
  }
  CKestTokenMap tokens;
  product.MapTokens({}, {}, tokens);
  for (const auto& [name, folder] : tokens) {
    reach.Add(folder);
  }
  CKestTypedList<CKestString> users;
  static_cast<void>(product.GetAllUserBinPaths(users)); // users who cannot be told have no places
  CKestPath path;
  if (product.GetSharedBinPath(path)) {
    users.Append(path.GetText());
  }
  for (const CKestString& folder : users) {
    reach.Add(CKestPath(WithoutBackslash(folder)).GetFolder()); // of the maker, for all of its products
  }
}

} // namespace

Reach FindReach(const std::vector<std::unique_ptr<CKestProduct>>& products) {
  Reach reach;
  CString folder;
  if (CKestOS::GetSystemFolder(folder)) {
    reach.Add(folder);
  }
  if (CKestOS::GetFontsFolder(folder)) {
    reach.Add(folder);
  }
  if (history::GetFolder(folder)) {
    reach.Add(folder + installed_record::kFolder);
  }
  for (const auto& product : products) {
    if (product->IsInstalled()) {
      AddProduct(*product, reach);
    }
  }
  reach.SetComplete();
  return reach;
}

Reach FindReachOfMachine() {
  CKestOS::InitMultiUserMembers();
  std::vector<std::unique_ptr<CKestProduct>> products = MakeServedProducts();
  for (const auto& product : products) {
    product->Initialize();
  }
  return FindReach(products);
}

} // namespace kest
