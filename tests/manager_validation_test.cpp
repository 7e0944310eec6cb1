// Descriptions that say what their author cannot have meant: the manual's own example, changed in a hundred ways.
#include "description/extension.h"
#include "manager/validation.h"
#include "platform/text/path.h"
#include "support/source_folder.h"
#include "support/temp_machine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

namespace kest {
namespace {

using Severity = ValidationFinding::Severity;

// The literal blocks of the manual page for authors.
std::vector<std::string> ManualExamples() {
  CString page = test::ReadHostFile(test::SourceFolder() + "/docs/man/kest-description.5");
  text::ReplaceAll(page, "\\e", "\\"); // how the page writes a backslash
  std::vector<std::string> blocks;
  for (std::size_t at = 0; (at = page.find(".Bd -literal", at)) != std::string::npos;) {
    const std::size_t begin = page.find('\n', at) + 1;
    at = page.find("\n.Ed", begin) + 1;
    blocks.push_back(page.substr(begin, at - begin));
  }
  return blocks;
}

// The manual's complete example with what else the page shows, so that each part of a description stands there once.
std::string WholeExample() {
  std::vector<std::string> blocks = ManualExamples();
  std::string whole = blocks.at(0);
  const std::string end = "</kestrel-extension>\n";
  const auto before = [&](const std::string& mark, const std::string& text) { whole.insert(whole.find(mark), text); };
  std::string sets;
  for (const std::string& block : blocks) {
    const bool isSet = block.starts_with("<toolbar") || block.starts_with("<extensions");
    sets += isSet ? block : "";
    if (block.starts_with("<help")) {
      before(end, block);
    }
    if (block.starts_with("<menu-insert") || block.starts_with("<shortcut-insert")) {
      before("  </configuration-changes>", block);
    }
    if (block.starts_with("<file-tokens")) {
      const std::size_t files = block.find("<files>\n");
      before("  <files>", block.substr(0, files));
      before("  </files>", block.substr(files + 8, block.find("</files>") - files - 8));
    }
    if (block.starts_with("<taglibrary")) {
      before(end, block);
    }
  }
  before(end, sets);
  before("  </files>", "<file source=\"Common/wc.htm\" destination=\"$tidemark/Configuration/Objects/Common\" />\n");
  return whole;
}

class Validation : public test::TempMachineTest {
protected:
  std::vector<ValidationFinding> check(const std::string& description, std::function<bool(const CString&)> hasFile) {
    CKestExtension record;
    return ValidateDescription({description, std::move(hasFile), nullptr}, record, m_code);
  }
  static std::string Words(const std::vector<ValidationFinding>& findings) {
    std::string words;
    for (const ValidationFinding& one : findings) {
      words += std::to_string(one.line) + ": " + one.rule + ": " + one.text + "\n";
    }
    return words;
  }
  int m_code = 0;
};

const std::set<CString> kSources = {"Commands\\wc.htm", "address.csn", "bin\\harbor.dll", "readme", "Common\\wc.htm"};
bool HasSource(const CString& source) { return kSources.contains(source); }

TEST_F(Validation, ExamplesAreClean) {
  CString example = ManualExamples().at(0);
  EXPECT_EQ(Words(check(example, HasSource)), "");
  text::ReplaceAll(example, "source=\"Commands/wc.htm", "source=\"./Commands/./wc.htm");
  text::ReplaceAll(example, "$tidemark/Configuration/Commands", "$tidemark/./Configuration/Commands/.");
  EXPECT_EQ(Words(check(example, HasSource)), "") << "a folder \".\" is taken out";
  for (const auto& entry : std::filesystem::recursive_directory_iterator(test::SourceFolder() + "/examples")) {
    if (entry.path().extension() == ".kei") {
      const auto beside = [&](CString source) {
        text::ReplaceAll(source, "\\", "/");
        return std::filesystem::exists(entry.path().parent_path() / source);
      };
      EXPECT_EQ(Words(check(test::ReadHostFile(entry.path()), beside)), "") << entry.path();
    }
  }
}

struct Mutation {
  const char* kind;
  const char* from;
  const char* to;
};

constexpr Mutation kMutations[] = {
    {"element-name", "<files>", "<flies>"},
    {"element-name", "<file source=\"Commands", "<flie source=\"Commands"},
    {"element-name", "<product name", "<produkt name"},
    {"element-name", "<token name", "<tokn name"},
    {"element-name", "<menuitem name=\"_Word", "<menuitm name=\"_Word"},
    {"element-name", "<shortcut key", "<shortcat key"},
    {"element-name", "<button id=\"AnnLee_Button\"", "<buton id=\"AnnLee_Button\""},
    {"element-name", "<menu-insert appendTo=\"TMMenu_Commands\"", "<menu-inserts appendTo=\"TMMenu_Commands\""},
    {"element-name", "<ui-access>", "<uiaccess>"},
    {"element-name", "<author name", "<autor name"},
    {"element-name", "<book-id", "<bookid"},
    {"element-name", "<taglibrary id", "<taglib id"},
    {"element-name", "<element-insert", "<elementinsert"},
    {"attribute-name", "source=\"Commands", "sorce=\"Commands"},
    {"attribute-name", "destination=\"$tidemark/Configuration/Commands\"",
     "destinaton=\"$tidemark/Configuration/Commands\""},
    {"attribute-name", "appendTo=\"TMMenu_Commands\"", "apendTo=\"TMMenu_Commands\""},
    {"attribute-name", "id=\"AnnLee_WordCount\"", "ident=\"AnnLee_WordCount\""},
    {"attribute-name", "type=\"Command\"", "typ=\"Command\""},
    {"attribute-name", "prompt=\"Where", "promt=\"Where"},
    {"attribute-name", "insertAfter=\"TM_Save\"", "insertAfer=\"TM_Save\""},
    {"attribute-name", "toolbar=\"TM_Toolbar_Standard\"", "tolbar=\"TM_Toolbar_Standard\""},
    {"attribute-name", "systemfile=\"true\"", "sysfile=\"true\""},
    {"attribute-name", "indentGroup=\"1\"", "indentgrp=\"1\""},
    {"attribute-name", "image=\"Toolbars", "imge=\"Toolbars"},
    {"attribute-name", "listId=\"TMMainWindow\"", "list=\"TMMainWindow\""},
    {"missing-item", " version=\"1.0.2\"", ""},
    {"missing-item", " type=\"Command\"", ""},
    {"missing-item", "name=\"Word Count\" version", "version"},
    {"missing-item", "<author name=\"Ann Lee\" />", ""},
    {"missing-item", "Counts the words of a page.", ""},
    {"missing-item", "Choose Commands > Word Count.", ""},
    {"missing-attribute", "id=\"AnnLee_WordCount\"", ""},
    {"missing-attribute", "name=\"_Word Count\"", ""},
    {"missing-attribute", "source=\"address.csn\"", ""},
    {"missing-attribute", "destination=\"$shelf\"", ""},
    {"missing-attribute", "key=\"Cmd+Shift+W\"", ""},
    {"missing-attribute", "appendTo=\"TMMenu_Commands\"", ""},
    {"missing-attribute", "listId=\"TMMainWindow\"", ""},
    {"missing-attribute", "extension=\"CSN\" type", "type"},
    {"missing-attribute", "description=\"Code Snippets\"", ""},
    {"missing-attribute", "default=\"$tidemark/Configuration/Snippets/Shelf\"", ""},
    {"missing-attribute", "file=\"Commands/wc.htm\" />\n    </menu", "/>\n    </menu"},
    {"missing-attribute", "id=\"ANNLEE\"", ""},
    {"truth", "primary=\"true\"", "primary=\"ja\""},
    {"truth", "systemfile=\"true\"", "systemfile=\"maybe\""},
    {"truth", "shared=\"true\"", "shared=\"ja\""},
    {"truth", "indent=\"true\"", "indent=\"yes\""},
    {"truth", "primary=\"true\"", "primary=\"treu\""},
    {"choice", "platform=\"win\"", "platform=\"windows\""},
    {"choice", "platform=\"win\"", "platform=\"linux\""},
    {"choice", "type=\"ascii\"", "type=\"text\""},
    {"choice", "type=\"ascii\"", "type=\"asci\""},
    {"choice", "type=\"Command\"", "type=\"Comand\""},
    {"version", "version=\"1.0.2\"", "version=\"1.0.2.3.4\""},
    {"version", "version=\"1.0.2\"", "version=\"one\""},
    {"version", "version=\"1.0.2\"", "version=\"1.0.2b\""},
    {"version", "version=\"1.0.2\"", "version=\"v1.0\""},
    {"version", "version=\"6\" primary", "version=\"60\" primary"},
    {"version", "version=\"6\" primary", "version=\"six\" primary"},
    {"number", "indentGroup=\"1\"", "indentGroup=\"9\""},
    {"number", "indentGroup=\"1\"", "indentGroup=\"one\""},
    {"number", "break=\"1,1,1,1\"", "break=\"1,1,1\""},
    {"product", "name=\"Tidemark\"", "name=\"Tidemork\""},
    {"product", "name=\"Tidemark\"", "name=\"Wordpad\""},
    {"product", "<product name=\"Tidemark\" version=\"6\" primary=\"true\" />",
     "<product name=\"Tidemark\" version=\"6\" /><product name=\"Tidemark\" version=\"6\" />"},
    {"product", "primary=\"true\" />", "primary=\"true\" /><product name=\"Prism\" version=\"4\" primary=\"true\" />"},
    {"source", "source=\"Commands/wc.htm\"", "source=\"Commands/wx.htm\""},
    {"source", "source=\"address.csn\"", "source=\"adress.csn\""},
    {"source", "source=\"bin/harbor.dll\"", "source=\"lib/harbor.dll\""},
    {"source", "source=\"readme\"", "source=\"readme.txt\""},
    {"unsafe-path", "source=\"readme\"", "source=\"../readme\""},
    {"unsafe-path", "destination=\"$tidemark/Help\"", "destination=\"$tidemark/../Help\""},
    {"unsafe-path", "source=\"Commands/wc.htm\"", "source=\"Commands/con\""},
    {"unsafe-path", "destination=\"$tidemark/Help\"", "destination=\"$tidemark/He:lp\""},
    {"reserved", "default=\"$tidemark/Conf", "default=\"C:/Windows/TEMP/Conf"},
    {"reserved", "destination=\"$tidemark/Help\"", "destination=\"$tidemark/Configuration/Extensions/Disabled\""},
    {"destination", "destination=\"$tidemark/Help\"", "destination=\"tidemark/Help\""},
    {"destination", "destination=\"$tidemark/Help\"", "destination=\"C:/Help\""},
    {"destination", "destination=\"$system\"", "destination=\"$fonts\""},
    {"token-name", "destination=\"$shelf\"", "destination=\"$shelv\""},
    {"token-name", "destination=\"$tidemark/Help\"", "destination=\"$tidmark/Help\""},
    {"token-name", "default=\"$tidemark/Conf", "default=\"$tidemork/Conf"},
    {"token-unused", "destination=\"$shelf\"", "destination=\"$tidemark/Help\""},
    {"token-twice", "<token name", "<token name=\"shelf\" prompt=\"Again?\" default=\"C:\\x\" /><token name"},
    {"token-own", "name=\"shelf\"", "name=\"tidemark\""},
    {"id-twice", "id=\"AnnLee_Count\"", "id=\"AnnLee_WordCount\""},
    {"id-twice", "id=\"AnnLee_Menu\"", "id=\"AnnLee_Separator\""},
    {"id-form", "id=\"AnnLee_WordCount\"", "id=\"Ann Lee WordCount\""},
    {"key", "key=\"Cmd+Shift+W\"", "key=\"Cmd+Shft+W\""},
    {"key", "key=\"Cmd+Shift+W\"", "key=\"Cmd+Shift+\""},
    {"key", "key=\"Cmd+Shift+W\"", "key=\"Cmd-Shift-W\""},
    {"key-twice", "<shortcut key", "<shortcut key=\"cmd+shift+w\" id=\"X\" file=\"Commands/wc.htm\" /><shortcut key"},
    {"runs", "file=\"Commands/wc.htm\"", "file=\"Commands/count.htm\""},
    {"runs", "<shortcut key=\"Cmd+Shift+W\" id=\"AnnLee_Key\" file=\"Commands/wc.htm\"",
     "<shortcut key=\"Cmd+Shift+W\" id=\"AnnLee_Key\" file=\"Command/wc.htm\""},
    {"runs", "tooltip=\"Word Count\" file=\"Commands/wc.htm\"", "tooltip=\"Word Count\" file=\"wc.htm\""},
    {"runs", "file=\"Common\\wc.htm\"", "file=\"Common\\w.htm\""},
    {"empty-removal", "<menu-insert insertAfter", "<menu-remove /><menu-insert insertAfter"},
    {"empty-removal", "<element-insert", "<element-remove name=\"\" /><element-insert"},
    {"empty-insert", "<menu-insert insertAfter", "<menu-insert appendTo=\"X\"></menu-insert><menu-insert insertAfter"},
    {"empty-set", "<toolbar-changes>", "<insertbar-changes /><toolbar-changes>"},
    {"wrong-set", "<element-insert", "<extension-insert extension=\"A\" description=\"B\" /><element-insert"},
    {"wrong-set", "<menu-insert insertAfter", "<toolbar-remove id=\"A\" /><menu-insert insertAfter"},
    {"wrong-set", "<extension-insert", "<menu-remove id=\"A\" /><extension-insert"},
    {"nesting", "<separator id=\"AnnLee_Separator\" />",
     "<menu name=\"A\" id=\"A1\"><menuitem name=\"B\" id=\"B1\" command=\"c()\" /></menu>"},
    {"nesting", "<file source=\"address.csn\" destination=\"$shelf\" />",
     "<file source=\"address.csn\" destination=\"$shelf\"><file source=\"readme\" destination=\"$shelf\" /></file>"},
    {"stray-text", "<files>", "<files>wc.htm"},
    {"place-twice", "insertAfter=\"TM_Save\"", "insertAfter=\"TM_Save\" appendTo=\"TM_Toolbar_Standard\""},
    {"file-twice", "<file source=\"address.csn\" destination=\"$shelf\" />",
     "<file source=\"address.csn\" destination=\"$shelf\" /><file source=\"address.csn\" destination=\"$shelf\" />"},
    {"alias-twice", "source=\"readme\"", "source=\"readme\" name=\"readme\""},
    {"xml", "</files>", "</file>"},
    {"xml", "<files>", "<files"},
    {"xml", "type=\"Command\"", "type=Command"},
    {"xml", "primary=\"true\" />", "primary=\"true\" / >"},
    {"root", "kestrel-extension name", "kestrel-extensions name"},
    {"no-font", "destination=\"$shelf\"", "destination=\"$fonts\""},
    {"system", "systemfile=\"true\"", "systemfile=\"true\" win-extension=\"dll\""},
};

TEST_F(Validation, FindsMutationsOfTheManualsExample) {
  const std::string whole = WholeExample();
  ASSERT_EQ(Words(check(whole, HasSource)), "") << whole;
  std::map<std::string, int> kinds;
  int found = 0;
  std::string missed;
  for (const Mutation& mutation : kMutations) {
    std::string changed = whole;
    const std::size_t at = changed.find(mutation.from);
    ASSERT_NE(at, std::string::npos) << mutation.from;
    changed.replace(at, std::string(mutation.from).size(), mutation.to);
    ++kinds[mutation.kind];
    const auto findings = check(changed, HasSource);
    found += !findings.empty();
    missed += findings.empty() ? std::string(mutation.from) + " -> " + mutation.to + "\n" : "";
    for (const ValidationFinding& finding : findings) {
      EXPECT_GT(finding.line, 0) << mutation.to << ": " << finding.rule;
      EXPECT_LE(finding.line, std::count(changed.begin(), changed.end(), '\n')) << mutation.to;
    }
  }
  RecordProperty("found", found);
  EXPECT_GE(std::size(kMutations), 100U);
  EXPECT_GE(kinds.size(), 20U);
  EXPECT_GE(found * 100, static_cast<int>(std::size(kMutations)) * 95) << missed;
}

// What each rule is called, how grave it is, and that the line is the right one.
TEST_F(Validation, NamesRuleSeverityAndLine) {
  const std::string whole = WholeExample();
  const auto errors = Severity::kError;
  const auto warnings = Severity::kWarning;
  const std::tuple<const char*, const char*, const char*, Severity> rows[] = {
      {"name=\"Tidemark\"", "name=\"Tidemork\"", "unknown-product", errors},
      {"source=\"Commands/wc.htm\"", "source=\"Commands/wx.htm\"", "source-missing", errors},
      {"destination=\"$shelf\"", "destination=\"$shelv\"", "unknown-token", errors},
      {"platform=\"win\"", "platform=\"windows\"", "wrong-value", warnings},
      {"<token name", "<toke name", "unknown-element", errors},
      {"indentGroup=", "indentGrp=", "unknown-attribute", warnings},
      {"AnnLee_Count\"", "AnnLee_Menu\"", "id-twice", warnings},
  };
  for (const auto& [from, to, rule, severity] : rows) {
    std::string changed = whole;
    const std::size_t at = changed.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    changed.replace(at, std::string(from).size(), to);
    const auto findings = check(changed, HasSource);
    const auto named = std::find_if(findings.begin(), findings.end(),
                                    [&, name = rule](const auto& one) { return one.rule == std::string(name); });
    ASSERT_NE(named, findings.end()) << rule << "\n" << Words(findings);
    EXPECT_EQ(named->severity, severity) << rule;
    const std::size_t tag = changed.rfind('<', at);
    const auto line = 1 + std::count(changed.begin(), changed.begin() + static_cast<std::ptrdiff_t>(tag), '\n');
    EXPECT_EQ(named->line, line) << Words(findings);
  }
}

} // namespace
} // namespace kest
