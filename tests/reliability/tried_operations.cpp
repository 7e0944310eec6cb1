#include "description/extension.h"
#include "platform/machine/file.h"
#include "platform/machine/os.h"
#include "reliability/engine_run.h"

#include <stdexcept>

namespace kest::test {
namespace {

constexpr const char* kConfiguration = "C:\\Program Files\\Kestrel\\Tidemark 6\\Configuration\\";

// What was removed once cannot be removed again, so these stand in the newer version alone.
constexpr const char* kNewerChanges = R"kest(
<menu-remove id="TMMenu_Edit_External" />
<toolbar-changes><toolbar-item-remove id="TM_Italic" /></toolbar-changes>
<insertbar-changes><insertbar-item-remove id="TM_Text_List" /></insertbar-changes>
<documenttype-changes><documenttype-remove id="Template" /></documenttype-changes>
<taglibrary-changes><taglibrary-remove id="TM_TagLibrary_jsp" /></taglibrary-changes>
)kest";
// What both versions of the editor have a place for.
constexpr const char* kChangesForBoth = R"kest(
<menu-insert appendTo="TMMenu_Commands"><menuitem name="T_wo" command="tm.two()" id="Tool_Two" /></menu-insert>
<extensions-changes><extension-insert extension="WBK" description="Notebooks" /></extensions-changes>
<FTP-extension-map-changes><FTP-extension-insert extension="wbk" type="ASCII" /></FTP-extension-map-changes>
)kest";
constexpr const char* kChanges = R"kest(
<menu-insert insertAfter="TMMenu_Insert_Table" skipSeparator="true">
  <separator />
  <menu name="_Tool" id="Tool_Menu"><menuitem name="_One" file="Commands\tool0.htm" id="Tool_One" /></menu>
</menu-insert>
<menu-insert prependTo="TMMenu_View"><menuitem name="T_wo" command="tm.two()" id="Tool_Two" /></menu-insert>
<shortcut-remove id="TMMainSite_Refresh" />
<shortcut-insert listId="TMMainWindow"><shortcut key="Cmd+Alt+W" command="tm.tool()" id="Tool_Key" /></shortcut-insert>
<toolbar-changes>
  <toolbar-insert><toolbar id="Tool_Bar" label="Tool"><button id="Tool_Button" tooltip="Tool" /></toolbar></toolbar-insert>
  <toolbar-item-insert insertAfter="TM_Save" toolbar="TM_Toolbar_Standard"><button id="Tool_Item" /></toolbar-item-insert>
</toolbar-changes>
<insertbar-changes>
  <insertbar-insert insertAfter="TM_Insertbar_Common"><category id="Tool_Category" folder="Tool"><button id="Tool_Insert" /></category></insertbar-insert>
</insertbar-changes>
<server-behavior-changes servermodelfolder="ASP_Js">
  <menu-insert appendTo="TMSB_Paging"><menuitem name="Reader" id="Tool_SB" file="ServerBehaviors/reader.htm" /></menu-insert>
</server-behavior-changes>
<server-format-changes servermodelfolder="ASP_Vbs">
  <menu-insert appendTo="TMServerFormats_ASP_Vbs"><menuitem name="Time" id="Tool_SF" file="ServerFormats/time.htm" /></menu-insert>
</server-format-changes>
<server-format-definition-changes servermodelfolder="JSP">
  <menu-insert insertBefore="TM_Number_2"><format title="Pages" id="Tool_SFD" file="Number" /></menu-insert>
</server-format-definition-changes>
<data-source-changes servermodelfolder="PHP_MySQL"><menu-remove id="TMDataSource_Session_PHP_MySQL" /></data-source-changes>
<documenttype-changes>
  <documenttype-insert><documenttype id="Tool_Doc" internaltype="Text" winfileextension="wbk"><title>Notes</title></documenttype></documenttype-insert>
</documenttype-changes>
<taglibrary-changes>
  <taglibrary-insert><taglibrary id="Tool_Tags" name="Tool tags"><tagref name="wb" file="wb.vtm" /></taglibrary></taglibrary-insert>
</taglibrary-changes>
<source-format-changes>
  <element-insert name="wb" break="1,0,0,1" indent="true" /><element-remove name="pre" />
  <attribute-insert name="readTime" namecase="readTime" /><attribute-remove name="onLoad" />
</source-format-changes>
<FTP-extension-map-changes>
  <FTP-extension-insert extension="wbk" type="ASCII" /><FTP-extension-remove extension="DOC" />
</FTP-extension-map-changes>
<extensions-changes>
  <extension-insert extension="WBK" description="Notes" /><extension-remove extension="TXT" description="Text Files" />
</extensions-changes>
)kest";

void must(bool done, const std::string& what) {
  if (!done) {
    throw std::runtime_error("a test cannot " + what);
  }
}

void write(const CString& path, const CString& content) {
  const CString folder = path.substr(0, path.rfind('\\'));
  must(CKestOS::CreateDirectory(folder, true) && CKestFile::WriteAll(path, content), "write " + path);
}

CString lay(const ExtensionBuilder& extension) {
  const auto files = extension.laid();
  for (const auto& [path, file] : files) {
    write(path, file.content);
    must(CKestOS::SetFileDateTime(path, CKestDateTime(file.date)), "date " + path);
  }
  return files.back().first;
}

void mustInstall(EngineRun& engine, const ExtensionBuilder& extension, const CKestProduct* into = nullptr) {
  MustSucceed(engine.tryInstall(PackOnMachine(engine, extension, "1.0"), into) != nullptr, engine, "install");
}

/// One that lies in the way of the tool: another name, the same name of the description.
ExtensionBuilder makeNamesake() {
  return ExtensionBuilder("Other")
      .descriptionNamed("tool.kei")
      .file("other.htm", "$tidemark/Configuration/Other", "of the other")
      .file("Over.htm", "$tidemark/Configuration/Commands", "over, of the other", "shared=\"true\"")
      .changes("<menu-insert insertAfter=\"TMMenu_Insert_Table\"><menuitem name=\"O\" id=\"Other_Item\" "
               "command=\"o()\" /></menu-insert>");
}

/// What the user has where the tool's files go.
void putUsersFiles() {
  write(kConfiguration + CString("Commands\\over.htm"), "the user's own");
  must(CKestOS::GetMachine().SetFileReadOnly(kConfiguration + CString("Commands\\over.htm"), true), "mark a file");
  write("C:\\windows\\system32\\part.dll", "the system's");
}

TriedOperation onInstalledTool(const char* name, int files, std::function<bool(EngineRun&)> run) {
  return {name,
          [files](EngineRun& engine) {
            putUsersFiles();
            mustInstall(engine, MakeToolExtension("1.0", files));
            (void)PackOnMachine(engine, MakeToolExtension("2.0", files), "2.0");
          },
          std::move(run)};
}

bool importTool(EngineRun& engine) {
  CKestTypedList<CKestExtension*> records;
  engine.manager().GetExtensions(engine.four(), records);
  (void)engine.manager().Import(engine.four(), engine.nova(), records);
  return engine.report().parts.size() == 1 && engine.report().parts[0].Succeeded();
}

ExtensionBuilder makeToolFiles(const std::string& version, int files) {
  ExtensionBuilder tool("Tool");
  tool.version(version)
      .file("Over.htm", "$tidemark/Configuration/Commands", "over " + version, "shared=\"true\"")
      .file("fancy.ttf", "$fonts", "glyphs " + version)
      .file("part.dll", "$system", "part " + version, "systemfile=\"true\"");
  for (int i = 0; i < files - 3; ++i) {
    // of ten files one comes, one goes, one stays the same, and the others change with the version
    const bool comesOrGoes = i % 10 == 3 || i % 10 == 7;
    const std::string number = std::to_string(i) + (comesOrGoes ? "v" + version : "");
    const std::string folder = i % 3 == 0 ? "Commands" : "Shared/Tool/deep" + std::to_string(i % 4);
    const std::string content = i % 10 == 5 ? "the same" : "file " + number + " of " + version;
    tool.file("tool" + number + ".htm", "$tidemark/Configuration/" + folder, content + std::string(200, '.'));
  }
  // a folder that holds nothing else, which may be moved with its files
  for (int i = 0; i < 10; ++i) {
    const std::string name = "page" + std::to_string(i) + (i == 9 ? "v" + version : "") + ".htm";
    tool.file("pages/" + name, "$tidemark/Configuration/Shared/Tool/pages", "page of " + version);
  }
  return tool;
}

} // namespace

void MustSucceed(bool done, const EngineRun& engine, const std::string& what) {
  const auto& problems = engine.report().problems;
  must(done, what + (problems.empty() ? "" : ": " + problems[0].path + " " + problems[0].reason));
}

ExtensionBuilder MakeToolExtension(const std::string& version, int files) {
  return makeToolFiles(version, files).changes(version == "1.0" ? kChanges : std::string(kNewerChanges) + kChanges);
}

std::string PackOnMachine(EngineRun& engine, const ExtensionBuilder& extension, const std::string& version) {
  const CString description = lay(extension);
  const CString package = "C:\\Work\\" + extension.name() + "-" + version + ".kep";
  MustSucceed(engine.manager().CreatePackage(description.c_str(), package.c_str(), nullptr, false, false, false) == 0,
              engine, "pack");
  (void)CKestOS::GetMachine().RemoveTree("C:\\Work\\" + extension.name());
  return package;
}

std::vector<TriedOperation> GetTriedOperations(int files) {
  std::vector<TriedOperation> all;
  all.push_back({"install",
                 [files](EngineRun& engine) {
                   putUsersFiles();
                   (void)PackOnMachine(engine, MakeToolExtension("1.0", files), "1.0");
                 },
                 [](EngineRun& engine) { return engine.tryInstall("C:\\Work\\Tool-1.0.kep") != nullptr; }});
  all.push_back(onInstalledTool(
      "replace", files, [](EngineRun& engine) { return engine.tryInstall("C:\\Work\\Tool-2.0.kep") != nullptr; }));
  all.push_back({"install-disables",
                 [files](EngineRun& engine) {
                   putUsersFiles();
                   mustInstall(engine, makeNamesake());
                   (void)PackOnMachine(engine, MakeToolExtension("1.0", files), "1.0");
                 },
                 [](EngineRun& engine) { return engine.tryInstall("C:\\Work\\Tool-1.0.kep") != nullptr; }});
  all.push_back(onInstalledTool("uninstall", files,
                                [](EngineRun& engine) { return engine.uninstall(engine.find("Tool")) == 0; }));
  const auto disable = [](EngineRun& engine) { return engine.disable(engine.find("Tool")) == 0; };
  all.push_back(onInstalledTool("disable", files, disable));
  TriedOperation enable =
      onInstalledTool("enable", files, [](EngineRun& engine) { return engine.enable(engine.find("Tool")) == 0; });
  enable.prepare = [prepare = enable.prepare, disable](EngineRun& engine) {
    prepare(engine);
    MustSucceed(disable(engine), engine, "disable");
  };
  all.push_back(std::move(enable));
  all.push_back({"import",
                 [files](EngineRun& engine) {
                   putUsersFiles();
                   const ExtensionBuilder tool = makeToolFiles("1.0", files).changes(kChangesForBoth);
                   mustInstall(engine, tool, engine.four());
                 },
                 importTool});
  TriedOperation repair = onInstalledTool("repair", files, [](EngineRun& engine) {
    return engine.manager().RepairExtension(engine.nova(), engine.find("Tool"), {"C:\\Work\\Tool-1.0.kep", true}) == 0;
  });
  repair.prepare = [prepare = repair.prepare](EngineRun& engine) {
    prepare(engine);
    must(CKestOS::GetMachine().RemoveTree(kConfiguration + CString("Shared\\Tool\\pages")), "remove a folder");
    write(kConfiguration + CString("Commands\\tool0.htm"), "somebody's");
    const CString menus = kConfiguration + CString("Menus\\Menus.xml");
    CString content;
    must(CKestFile::ReadAll(menus, content), "read the menus");
    const std::size_t line = content.rfind('\n', content.find("\"Tool_Two\""));
    write(menus, content.erase(line, content.find('\n', line + 1) - line));
    write(kConfiguration + CString("Extensions.txt"), "HTM,HTML:All Documents\r\n");
  };
  all.push_back(std::move(repair));
  for (std::size_t i = 0, count = all.size(); i < count; ++i) {
    all.push_back({"undo-" + all[i].name,
                   [done = all[i]](EngineRun& engine) {
                     done.prepare(engine);
                     MustSucceed(done.run(engine), engine, done.name);
                   },
                   [](EngineRun& engine) { return engine.manager().UndoOperation(0) == 0; }});
  }
  all.push_back({"pack",
                 [files](EngineRun&) {
                   (void)lay(MakeToolExtension("1.0", files));
                   write("C:\\Work\\Tool.kep", "an older package");
                 },
                 [](EngineRun& engine) {
                   return engine.manager().CreatePackage("C:\\Work\\Tool\\tool.kei", "C:\\Work\\Tool.kep", nullptr,
                                                         false, false, false) == 0;
                 }});
  return all;
}

} // namespace kest::test
