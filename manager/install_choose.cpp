#include "journal/catalogue_steps.h"
#include "manager/install.h"
#include "manager/installed_record.h"
#include "manager/operation_scope.h"
#include "platform/machine/os.h"
#include "platform/text/path.h"

#include <algorithm>

namespace kest::install {
namespace {

using Failure = OperationReport::Failure;

CString LineOf(const CKestExtensionProduct& entry) {
  CString line = entry.GetName();
  if (!entry.GetVersion().empty()) {
    line += FormatMessage(Message::kVersionOrLater, {entry.GetVersion()});
  }
  return line;
}

bool RefuseProducts(Context& context, const std::vector<CString>& lines) {
  CString shown = LoadMessage(Message::kProductsMissing);
  CString names;
  for (const CString& line : lines) {
    if (!line.empty()) {
      shown += "\r\n        " + line;
      names += (names.empty() ? "" : ", ") + line;
    }
  }
  shown += "\r\n" + LoadMessage(Message::kNotInstalled);
  context.state.Fail(Failure::kUnsupportedProduct, context.path, "it is for " + names + ", which is not here",
                     static_cast<int>(Message::kProductsMissing));
  context.state.Ui().NoticeText(Message::kProductsMissing, shown);
  return false;
}

/// The same extension is installed: asks by its version, and lets a step take it out.
bool ReplaceNamesake(Context& context, CKestExtension& existing) {
  if (context.acceptEqual) {
    context.replaced = &existing;
    if (!context.enroll && context.extension->CompareVersion(existing) != 0) {
      const CString other = existing.GetName() + '@' + existing.GetVersion().ToText();
      context.state.Fail(Failure::kDeclined, existing.GetPath(), other + " is enabled", 0,
                         "disable that one first: kest disable \"" + other + '"');
    } else {
      context.state.Fail(Failure::kAlreadyThere, existing.GetPath(), "it is enabled already");
    }
    return false;
  }
  const int order = context.extension->CompareVersion(existing);
  const Message question = order > 0   ? Message::kNewerVersion
                           : order < 0 ? Message::kOlderVersion
                                       : Message::kEqualVersion;
  if (context.state.Ui().Ask(question, {context.extension->GetName()}, kYesNo) != kYes) {
    return context.Declined(question);
  }
  const CString name = existing.GetName();
  const CString version = existing.GetVersion().ToText();
  bool isDamaged = false;
  if (installed_record::Record record; IsYes(installed_record::Read(existing.GetPath(), record, isDamaged))) {
    for (auto& [path, digest] : record.originals) {
      context.agreed.emplace(text::Lower(path), std::move(digest));
    }
  }
  if (RunStep<CInstallRemoveExtension>(context.state.journal, &context.state.owner, context.product, &existing) != 0) {
    context.state.Fail(Failure::kOther, existing.GetPath(), "the installed extension could not be taken out");
    return false;
  }
  context.replaced = &existing;
  context.state.report.replaced = name;
  context.state.report.replacedVersion = version;
  return true;
}

/// Another extension uses the same description file name: it is disabled.
bool DisableOther(Context& context, CKestExtension& existing) {
  const std::initializer_list<text::Argument> arguments = {context.extension->GetName(), existing.GetName(),
                                                           context.state.descriptionName};
  const CString question = FormatMessage(Message::kDescriptionNameTaken, arguments) +
                           FormatMessage(Message::kDescriptionNameTakenAsk, arguments);
  if (context.state.Ui().AskText(Message::kDescriptionNameTaken, arguments, question, kYesNo) != kYes) {
    return context.Declined(Message::kDescriptionNameTaken);
  }
  if (RunStep<CInstallDisableExtension>(context.state.journal, &context.state.owner, context.product, &existing) != 0) {
    context.state.Fail(Failure::kOther, existing.GetPath(), "the installed extension could not be disabled");
    return false;
  }
  context.replaced = &existing;
  context.state.report.replaced = existing.GetName();
  context.state.report.replacedVersion = existing.GetVersion().ToText();
  return true;
}

bool AskFolder(Context& context, CKestExtensionToken& token, const CString& prompt, const CString& initial) {
  CString folder;
  while (!context.state.Ui().ChooseFolder(prompt, initial, folder)) {
    if (context.state.IsCancelled()) {
      return false;
    }
    if (context.state.Ui().Ask(Message::kCancelInstall, {}, kYesNo) == kNo) {
      return context.Declined(Message::kCancelInstall);
    }
  }
  token.SetDefinition(folder);
  return true;
}

/// Whether a folder is one of a product, where an extension may put files without asking, or lies in one that the user
/// chose for it. What leads nowhere is refused with the files that go there.
bool NeedsNoAnswer(const Context& context, const CString& folder, const std::vector<CString>& chosen) {
  return folder.size() < 2 || folder[1] != ':' || !FindUnsafeComponent(folder).empty() ||
         context.state.placement.IsReserved(WithBackslash(folder), {}) || context.state.FindOwner(folder) != nullptr ||
         std::any_of(chosen.begin(), chosen.end(), [&folder](const CString& one) {
           return text::StartsWithNoCase(WithBackslash(folder), WithBackslash(one));
         });
}

} // namespace

bool ChooseProduct(Context& context) {
  CKestExtension& extension = *context.extension;
  const CKestExtensionProduct* primary = nullptr;
  const CKestProduct* candidate = nullptr;
  std::vector<CString> missing;
  for (const CKestExtensionProduct& entry : extension.GetProducts()) {
    if (!entry.IsRequired()) {
      continue;
    }
    const CKestProduct* found = context.state.FindProduct(entry.GetName(), entry.GetVersion());
    if (entry.IsPrimary()) {
      primary = &entry;
      candidate = found;
    }
    if (found == nullptr || !found->IsInstalled()) {
      missing.push_back(LineOf(entry));
    }
  }
  if (!missing.empty()) {
    return RefuseProducts(context, missing);
  }
  if (candidate == nullptr) {
    context.state.Fail(Failure::kUnsupportedProduct, context.path, "it names no primary product");
    return false;
  }
  const bool fits = context.product != nullptr &&
                    context.product->Supports(primary->GetName().c_str(), primary->GetVersion().c_str());
  if (!fits && context.product != nullptr && context.keepProduct) {
    context.state.Fail(Failure::kUnsupportedProduct, context.path,
                       "the product asked for does not support it: it is for " + LineOf(*primary));
    return false;
  }
  if (!fits && context.keepProduct) {
    context.state.Fail(Failure::kUnsupportedProduct, context.path, "no product was given to keep to");
    return false;
  }
  context.product = fits ? context.product : candidate;
  CKestProduct::ClearBackedUpFileList();
  if (context.state.depth == 1 || context.state.report.product.empty()) {
    context.product->GetName(context.state.report.product);
  }
  context.destination = context.state.GetExtensionsPath(*context.product, context.state.descriptionName);
  if (context.product->SupportsMultiUserAdmin() && CKestOS::IsSupportedMultiUserSystem() &&
      !CKestOS::GetCurrentUserType(context.userType)) {
    context.userType = 0;
  }
  return true;
}

bool ReplaceExisting(Context& context) {
  const CKestExtension& extension = *context.extension;
  CKestExtension* existing = context.state.owner.FindByPath(context.destination.c_str());
  if (existing == nullptr) {
    existing = context.state.owner.FindEnabledByNameAndAuthor(context.product, extension.GetName().c_str(),
                                                              extension.GetAuthorName().c_str());
    if (existing != nullptr && (context.userType == 2) != existing->IsShared()) {
      context.state.Fail(Failure::kNoPermission, existing->GetPath(),
                         "it is installed for other users than the current one installs for",
                         static_cast<int>(Message::kScopeMismatch), "have that one uninstalled first");
      context.state.Ui().Notice(Message::kScopeMismatch);
      return false;
    }
  }
  if (existing == nullptr || !existing->IsEnabled()) {
    return true;
  }
  const bool namesake = text::EqualNoCase(existing->GetName(), extension.GetName()) &&
                        text::EqualNoCase(existing->GetAuthorName(), extension.GetAuthorName());
  return namesake ? ReplaceNamesake(context, *existing) : DisableOther(context, *existing);
}

bool RemoveUserCopies(Context& context) {
  if (context.userType != 2) {
    return true;
  }
  CKestTypedList<CKestString> copies;
  context.state.CheckForUserLevelConflicts(context.product, context.extension.get(), copies);
  if (copies.IsEmpty()) {
    return true;
  }
  if (context.state.Ui().Ask(Message::kRemoveUserCopies, {}, kYesNo) == kNo) {
    return context.Declined(Message::kRemoveUserCopies);
  }
  (void)context.state.RemoveUserLevelConflicts(context.product, copies);
  return true;
}

bool ResolveTokens(Context& context) {
  if (!context.resolveTokens) {
    return true;
  }
  std::size_t count = 0;
  std::vector<CString> chosen;
  FilePlacement::Resolver resolver(context.state.placement, context.product, context.extension.get());
  for (CKestExtensionToken& token : context.extension->GetTokens()) {
    if (++count > FilePlacement::kMostTokens) {
      context.state.Fail(Failure::kBadDescription, context.path, "it has more than 2000 folder tokens");
      return false;
    }
    if (context.state.IsCancelled()) {
      return false;
    }
    const CString& prompt = token.GetPrompt();
    const CString& given = prompt.empty() ? token.GetDefinition() : token.GetDefault();
    const CString folder = given.empty() ? CString() : resolver.ResolveFolder(given);
    if (prompt.empty() && (folder.empty() || NeedsNoAnswer(context, folder, chosen))) {
      token.SetDefinition(folder);
    } else if (AskFolder(context, token, prompt.empty() ? token.GetName() : prompt, folder)) {
      chosen.push_back(token.GetDefinition());
    } else {
      return false;
    }
    resolver.SetOwnToken(token.GetName(), token.GetDefinition());
  }
  return true;
}

} // namespace kest::install
