#include "host/json_output.h"

#include "description/extension.h"
#include "host/terminal/text_width.h"
#include "manager/extension_manager.h"
#include "platform/machine/hosted_machine.h"
#include "products/product.h"

namespace kest::host {

Json MakeDocument(const char* name, bool ok) {
  // an empty value that becomes an object for want of memory half-way cannot be destroyed: begin with an object
  Json document = Json::object();
  document["schema"] = std::string("kest.") + name + "/1";
  document["ok"] = ok;
  return document;
}

Json PathJson(HostedMachine* machine, const CString& windowsPath) {
  if (windowsPath.empty()) {
    return nullptr;
  }
  Json json = Json::object();
  json["windows"] = ToUtf8(windowsPath);
  const CString host = machine ? machine->ToHostPath(windowsPath) : CString();
  json["host"] = host.empty() ? Json(nullptr) : Json(ToUtf8(host));
  return json;
}

Json TypeJson(const CKestExtensionManager& manager, const CKestExtension& extension) {
  CString label;
  static_cast<void>(manager.GetTypeLabel(extension.GetType(), label));
  Json json = Json::object();
  json["id"] = extension.GetType();
  json["keyword"] = ToUtf8(extension.GetTypeLabel());
  json["label"] = ToUtf8(label);
  return json;
}

Json ExtensionJson(const CKestExtensionManager& manager, HostedMachine* machine, const CKestProduct* product,
                   const CKestExtension& extension) {
  Json json = Json::object();
  CString name;
  if (product) {
    product->GetName(name);
  }
  json["product"] = product ? Json(ToUtf8(name)) : Json(nullptr);
  json["name"] = PlainText(extension.GetName());
  json["author"] = PlainText(extension.GetAuthorName());
  json["version"] = extension.GetVersion().ToText();
  json["type"] = TypeJson(manager, extension);
  json["state"] = !product ? Json(nullptr) : Json(extension.IsEnabled() ? "enabled" : "disabled");
  json["scope"] = !product ? Json(nullptr) : Json(extension.IsShared() ? "shared" : "user");
  json["description"] = PathJson(machine, extension.GetPath());
  json["files"] = extension.GetFileCount();
  return json;
}

namespace {

std::string Text(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

} // namespace

// Nothing that a document holds itself is binary.
Json LongLists::Add(Source source) {
  m_sources.push_back(std::move(source));
  return Json::binary({}, m_sources.size() - 1);
}

void LongLists::Print(const Json& document, const std::function<void(std::string_view)>& print) const {
  const std::function<void(const Json&)> walk = [&](const Json& json) {
    std::string_view separator;
    if (json.is_binary()) {
      print("[");
      m_sources[static_cast<std::size_t>(json.get_binary().subtype())]([&](const Json& element) {
        print(separator);
        print(Text(element));
        separator = ",";
      });
      print("]");
    } else if (json.is_object()) {
      print("{");
      for (const auto& [key, value] : json.items()) {
        print(separator);
        print(Text(Json(key)) + ":");
        walk(value);
        separator = ",";
      }
      print("}");
    } else {
      print(Text(json));
    }
  };
  walk(document);
  print("\n");
}

} // namespace kest::host
