#include "products/legacy_conversion.h"

#include "config/config_sets.h"
#include "config/toolbar_changes.h"
#include "description/extension.h"
#include "menus/menu_sets.h"
#include "platform/text/path.h"
#include "products/legacy_objects.h"

#include <algorithm>
#include <optional>
#include <unordered_set>

namespace kest {

namespace {

constexpr std::string_view kConfigurationMark = "/configuration/";
constexpr std::string_view kObjectsMark = "/configuration/objects/";
constexpr std::string_view kReference = "reference";
constexpr std::string_view kVantageName = "vantage";
constexpr std::string_view kOldAsp = "asp";
constexpr std::string_view kAspVbs = "ASP_Vbs";
constexpr std::string_view kAspJs = "ASP_Js";
constexpr std::string_view kOldHarbor = "harbor";
constexpr std::string_view kHarbor = "VN4-Harbor";

/// Folders below the configuration folder whose children are one folder a server model.
constexpr std::string_view kServerModelFolders[] = {"serverbehaviors", "datasources", "serverformats", "connections",
                                                    "connections/scripts"};

struct ServerModelName {
  std::string_view old;
  std::string_view folder;
};
constexpr ServerModelName kServerModelNames[] = {
    {"ASP.NET C#", "ASP.NET_CSharp"}, {"ASP.NET VB", "ASP.NET_VB"}, {"ASP VBScript", "ASP_Vbs"},
    {"ASP JavaScript", "ASP_Js"},     {"PHP MySQL", "PHP_MySQL"},   {"Harbor", "VN4-Harbor"},
};

bool IsForVantage(const CKestExtension& extension) {
  return std::any_of(extension.GetProducts().begin(), extension.GetProducts().end(),
                     [](const CKestExtensionProduct& product) {
                       return product.IsRequired() && text::EqualNoCase(product.GetName(), kVantageName);
                     });
}

/// A destination for searching: lower case, "/" for every separator and at the end. Positions are those of the
/// destination itself.
CString Searchable(const CString& destination) {
  CString result = text::Lower(destination);
  for (std::size_t at = 0; at < result.size(); ++at) {
    if (text::IsLeadByte(destination[at])) {
      ++at;
    } else if (result[at] == ':' || result[at] == '\\') {
      result[at] = '/';
    }
  }
  if (result.empty() || result.back() != '/') {
    result += '/';
  }
  return result;
}

/// Whether `name` stands at `at` as a whole component.
bool HasComponentAt(std::string_view searchable, std::size_t at, std::string_view name) {
  return searchable.substr(at).starts_with(name) && searchable[at + name.size()] == '/';
}

/// Rewrites the destinations of one extension; collects its object pages and icons on the way.
class FileConversion {
public:
  explicit FileConversion(CKestExtension& extension) : m_extension(extension), m_vantage(IsForVantage(extension)) {}

  void Run() {
    CKestExtensionFiles& files = m_extension.GetFiles();
    // files appended on the way are met as well
    for (int at = 0; at < files.GetChildCount(); ++at) {
      auto* const file = dynamic_cast<CKestExtensionFile*>(files.GetChildren()[static_cast<std::size_t>(at)].get());
      if (file != nullptr && file->GetPlatform() != CKestExtensionFile::kMac) {
        Convert(*file);
      }
    }
  }
  [[nodiscard]] const ObjectFiles& GetObjects() const { return m_objects; }

private:
  void Convert(CKestExtensionFile& file) {
    const CString searchable = Searchable(file.GetDestination());
    const std::size_t mark = searchable.find(kConfigurationMark);
    if (mark == CString::npos) {
      return;
    }
    const std::size_t below = mark + kConfigurationMark.size();
    if (HasComponentAt(searchable, below, kReference)) {
      const CString old = file.GetDestination();
      file.SetDestination(old.substr(0, below) + "Content\\" + old.substr(below));
    } else if (m_vantage && !CopyForServerModels(file, searchable, below)) {
      return;
    }
    if (searchable.find(kObjectsMark) != CString::npos) {
      m_objects.Remember(file);
    }
  }

  /// False when the file does not lie in a server model's folder.
  bool CopyForServerModels(const CKestExtensionFile& file, const CString& searchable, std::size_t below) {
    std::string_view longest;
    for (const std::string_view folder : kServerModelFolders) {
      if (folder.size() > longest.size() && std::string_view(searchable).substr(below).starts_with(folder)) {
        longest = folder;
      }
    }
    if (longest.empty() || searchable[below + longest.size()] != '/') {
      return false;
    }
    const std::size_t model = below + longest.size() + 1;
    if (HasComponentAt(searchable, model, kOldAsp)) {
      AppendCopy(file, model, kOldAsp.size(), kAspVbs);
      AppendCopy(file, model, kOldAsp.size(), kAspJs);
    } else if (HasComponentAt(searchable, model, kOldHarbor)) {
      AppendCopy(file, model, kOldHarbor.size(), kHarbor);
    }
    return true;
  }

  void AppendCopy(const CKestExtensionFile& file, std::size_t at, std::size_t length, std::string_view model) {
    auto copy = std::make_unique<CKestExtensionFile>(file);
    CString destination = file.GetDestination();
    destination.replace(at, length, model);
    copy->SetDestination(destination);
    if (NoteEntry(*copy)) {
      m_extension.GetFiles().AppendChild(std::move(copy));
    }
  }

  /// False when the extension has an entry of that source and destination already, as one converted before has.
  bool NoteEntry(const CKestExtensionFile& file) {
    if (!m_entries) {
      m_entries.emplace();
      for (const CKestExtensionFile& known : m_extension.GetFiles()) {
        m_entries->insert(KeyOf(known));
      }
    }
    return m_entries->insert(KeyOf(file)).second;
  }

  static CString KeyOf(const CKestExtensionFile& file) {
    return text::Lower(file.GetSource()) + '\n' + text::Lower(file.GetDestination());
  }

  CKestExtension& m_extension;
  bool m_vantage;
  ObjectFiles m_objects;
  std::optional<std::unordered_set<CString>> m_entries; ///< made when the first copy is
};

/// One old server model became two: its sets are for the one from now on, and copies of them for the other.
void ConvertServerModels(CKestExtension& extension) {
  std::vector<std::unique_ptr<CKestXmlObject>> copies;
  for (const auto& changes : extension.GetConfigChanges()) {
    auto* const set = dynamic_cast<CKestServerConfigChanges*>(changes.get());
    if (set == nullptr) {
      continue;
    }
    const CString& folder = set->GetServerModelFolder();
    if (text::EqualNoCase(folder, kOldAsp)) {
      set->SetServerModelFolder(kAspJs);
      copies.push_back(set->Clone());
      set->SetServerModelFolder(kAspVbs);
      continue;
    }
    const auto* const row = std::find_if(std::begin(kServerModelNames), std::end(kServerModelNames),
                                         [&](const auto& name) { return text::EqualNoCase(name.old, folder); });
    if (row != std::end(kServerModelNames)) {
      set->SetServerModelFolder(row->folder);
    }
  }
  for (std::unique_ptr<CKestXmlObject>& copy : copies) {
    // a clone is of the set's own class; the record takes it over
    extension.AddConfigChanges(static_cast<CKestServerConfigChanges*>(copy.release()));
  }
}

} // namespace

void ConvertForVersion6(CKestExtension& extension) {
  FileConversion files(extension);
  files.Run();
  if (files.GetObjects().WantButtons() && !extension.HasInsertbarConfigChanges()) {
    if (extension.GetMasterConfigChanges() == nullptr) {
      extension.AddConfigChanges(new CKestMasterConfigChanges); // taken over by the record
    }
    auto* const set = new CKestInsertbarConfigChanges; // taken over by the record
    set->AppendChild(files.GetObjects().MakeButtons(extension.GetName()));
    extension.AddConfigChanges(set);
  }
  ConvertServerModels(extension);
}

} // namespace kest
