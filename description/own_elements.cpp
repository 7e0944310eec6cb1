// The elements of the extension itself.

#include "description/element_table.h"
#include "description/extension_types.h"

#include <array>

namespace kest {

namespace {

using Row = ElementRow;
using Action = Row::Action;
using Home = Row::Home;
using attribute::Make;
using attribute::Text;
using attribute::Truthy;

void ReadType(CKestXmlObject& object, std::string_view value) {
  auto& record = static_cast<CKestExtension&>(object);
  record.SetType(ExtensionTypeOf(value));
  record.SetTypeLabel(value);
}

void ReadFilePlatform(CKestXmlObject& object, std::string_view value) {
  auto& file = static_cast<CKestExtensionFile&>(object);
  if (text::StartsWithNoCase(value, "mac")) {
    file.SetPlatform(CKestExtensionFile::kMac);
  } else if (text::StartsWithNoCase(value, "win")) {
    file.SetPlatform(CKestExtensionFile::kWin);
  } else {
    file.SetPlatform(CKestExtensionFile::kAnyPlatform);
  }
}

using Extension = CKestExtension;
constexpr auto kRoot = std::to_array<AttributeRow>({
    {"id", Text<Extension, &Extension::SetID>},
    {"name", Text<Extension, &Extension::SetName>},
    {"version", Text<Extension, &Extension::SetVersion>},
    {"requires-restart", Truthy<Extension, &Extension::SetRequiresRestart>},
    {"type", ReadType},
});

constexpr auto kAuthor = std::to_array<AttributeRow>({{"name", Text<Extension, &Extension::SetAuthorName>}});

using Token = CKestExtensionToken;
constexpr auto kToken = std::to_array<AttributeRow>({
    {"name", Text<Token, &Token::SetName>},
    {"prompt", Text<Token, &Token::SetPrompt>},
    {"default", Text<Token, &Token::SetDefault>},
    {"definition", Text<Token, &Token::SetDefinition>},
});

void ReadDestination(CKestXmlObject& object, std::string_view value) {
  static_cast<CKestExtensionFile&>(object).SetDestination(value);
}

using File = CKestExtensionFile;
constexpr auto kFile = std::to_array<AttributeRow>({
    {"source", Text<File, &File::SetSource>},
    {"name", Text<File, &File::SetSource>},
    {"destination", ReadDestination, true},
    {"location", ReadDestination, true},
    {"platform", ReadFilePlatform},
    {"shared", Truthy<File, &File::SetShared>},
    {"systemfile", Truthy<File, &File::SetSystemFile>},
    {"actual-path", Text<File, &File::SetActualPath>},
    {"win-extension", Text<File, &File::SetWinExtension>},
});

using Product = CKestExtensionProduct;
constexpr auto kProduct = std::to_array<AttributeRow>({
    {"name", Text<Product, &Product::SetName>},
    {"version", Text<Product, &Product::SetVersion>},
    {"primary", Truthy<Product, &Product::SetPrimary>},
    {"required", Truthy<Product, &Product::SetRequired>},
});

constexpr std::array kElements = std::to_array<ElementRow>({
    {.name = "kestrel-extension", .action = Action::kRoot, .attributes = kRoot},
    {.name = "kestrel-package", .action = Action::kRoot, .attributes = kRoot},
    {.name = "description",
     .action = Action::kText,
     .unknown = Row::Unknown::kSkip,
     .guard = Row::Guard::kNoCurrent,
     .text = Row::Text::kDescription},
    {.name = "ui-access", .action = Action::kText, .text = Row::Text::kUIAccess},
    {.name = "license-agreement", .action = Action::kText, .text = Row::Text::kLicense},
    {.name = "author", .action = Action::kRecord, .attributes = kAuthor},
    {.name = "file-tokens", .action = Action::kContainer, .home = Home::kTokens, .push = true},
    {.name = "token",
     .make = Make<Token>,
     .bytes = sizeof(Token),
     .home = Home::kTokens,
     .attributes = kToken,
     .belongsIn = "file-tokens"},
    {.name = "files", .action = Action::kContainer, .home = Home::kFiles, .push = true},
    {.name = "file",
     .make = Make<File>,
     .bytes = sizeof(File),
     .home = Home::kFiles,
     .attributes = kFile,
     .belongsIn = "files"},
    {.name = "products", .action = Action::kContainer, .home = Home::kProducts, .push = true},
    {.name = "product",
     .make = Make<Product>,
     .bytes = sizeof(Product) + 32,
     .home = Home::kProducts,
     .attributes = kProduct,
     .belongsIn = "products"},
    {.name = "comment",
     .action = Action::kComment,
     .make = Make<CKestXmlComment>,
     .bytes = sizeof(CKestXmlComment),
     .home = Home::kCurrent,
     .push = true,
     .guard = Row::Guard::kHasCurrent},
});

} // namespace

std::span<const ElementRow> OwnElements() { return kElements; }

} // namespace kest
