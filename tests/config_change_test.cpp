#include "config/config_file.h"
#include "config/config_sets.h"
#include "config/extensions_changes.h"
#include "config/ftp_map_changes.h"
#include "config/generic_xml_file.h"
#include "config/list_changes.h"
#include "config/source_format_changes.h"
#include "config/text_level.h"
#include "config/toolbar_changes.h"
#include "support/damage.h"
#include "support/temp_machine.h"

#include <gtest/gtest.h>

#include <tuple>

namespace kest::test {
namespace {

using Code = CKestConfigChange::ErrorCode;
using Action = CKestConfigChange::Action;

CKestTextConfigFile TextFile(const std::string& content) {
  CKestTextConfigFile file;
  file.SetContent(content);
  return file;
}

CKestGenericXmlFile XmlFile(const std::string& content) {
  CKestGenericXmlFile file;
  EXPECT_EQ(file.LoadContent(content), 0) << content;
  return file;
}

/// Inserts into a text file twice, which is as once, and takes it back.
void CheckTextInsert(CKestConfigChange& insert, const std::string& before, const std::string& inserted,
                     const std::string& undone) {
  CKestTextConfigFile file = TextFile(before);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(insert.MakeChange(nullptr, &file, nullptr), Code::kSuccess);
    EXPECT_EQ(file.GetContent(), inserted);
  }
  EXPECT_EQ(insert.UndoChange(nullptr, &file, nullptr), Code::kSuccess);
  EXPECT_EQ(file.GetContent(), undone);
}

// ---- frame

TEST(ConfigChanges, APathThatLeavesTheFolderIsUnsafe) {
  for (const char* name : {"..\\x.xml", "a/b.xml", "a\\b.xml", "c:x.xml", "", "..", "."}) {
    CKestToolbarConfigChanges toolbars;
    toolbars.SetFileName(name);
    EXPECT_FALSE(toolbars.HasSafePath()) << name;
  }
  EXPECT_TRUE(CKestToolbarConfigChanges().HasSafePath());
}

// ---- generic files

TEST(GenericXmlFile, TextIsKeptThroughLoadAndSave) {
  const CKestGenericXmlFile file = XmlFile(ConfigSample("toolbars.xml"));
  CString text;
  file.BuildContent(text);
  for (const char* kept :
       {"<?xml version=\"1.0\"?>", "<!DOCTYPE toolbarset SYSTEM \"-//Kestrel//TMExtension toolbar 5.0\">",
        "<comment>toolbars of the sample editor</comment>", "tooltip=\"New &amp; empty\"",
        "command=\"if (a && b) save('x')\"", "if (a < b && c) { map(); }"}) {
    EXPECT_NE(text.find(kept), CString::npos) << kept << "\n" << text;
  }
  CString twice;
  XmlFile(text).BuildContent(twice);
  EXPECT_EQ(twice, text);
  CString marked;
  XmlFile("\xEF\xBB\xBF<a />\n").BuildContent(marked);
  EXPECT_TRUE(marked.starts_with("\xEF\xBB\xBF<a")) << "the byte order mark";
}

TEST(GenericXmlFile, EveryPrefixAndOneByteChangeIsRefusedOrStaysReadable) {
  for (const char* name : {"toolbars.xml", "insertbar.xml", "KRDocumentTypes.xml", "TagLibraries.vtm", "help.xml"}) {
    ForEveryCutAndChange(ConfigSample(name), "<\"&; -", [](const std::string& content) {
      CKestGenericXmlFile file;
      if (file.LoadContent(content) == 0) {
        CString text;
        file.BuildContent(text);
        ASSERT_EQ(CKestGenericXmlFile().LoadContent(text), 0) << content << "\n->\n" << text;
      }
    });
  }
}

using ConfigFileOnDisk = TempMachineTest;

TEST_F(ConfigFileOnDisk, WhatWouldNotLoadDoesNotReplaceAFileThatDoes) {
  m_pc.Write("C:\\t.xml", "<a/>");
  CKestGenericXmlFile file;
  ASSERT_EQ(file.Load("C:\\t.xml", nullptr), 0);
  file.FindTag("a")->AppendChild(std::make_unique<CKestXmlObject>("no name"));
  EXPECT_EQ(file.Save("C:\\t.xml"), -1);
  EXPECT_EQ(m_pc.Read("C:\\t.xml"), "<a/>");
  const std::string bytes("a\0b\r\n\n\x1a\xff", 8);
  m_pc.Write("C:\\t.txt", bytes);
  CKestTextConfigFile text;
  ASSERT_EQ(text.Load("C:\\t.txt", nullptr), 0);
  EXPECT_EQ(text.Save("C:\\u.txt"), 0);
  EXPECT_EQ(m_pc.Read("C:\\u.txt"), bytes);
}

TEST(TextLevel, ReferencesAreDecodedOnce) {
  const std::pair<const char*, const char*> rows[] = {
      {"A &amp; B", "A & B"},  {"&amp;lt;", "&lt;"},  {"&#65;&#x42;", "AB"},    {"a && b", "a && b"},
      {"&nbsp;x", "\1nbsp;x"}, {"&#300;", "\1#300;"}, {"&#1;&;&x", "&#1;&;&x"}, {"&quot;&apos;&lt;&gt;", "\"'<>"},
      {"x &amp", "x &amp"},
  };
  for (const auto& [in, out] : rows) {
    CString value = in;
    DecodeReferences(value);
    EXPECT_EQ(value, out) << in;
  }
}

TEST(TextLevel, APayloadReadsInTheFileAsItsAuthorMeantIt) {
  CKestXmlObject payload("button");
  payload.AppendAttribute("title", "&lt;");
  payload.AppendAttribute("Title", "caf&#233; &amp; &#8212;");
  EXPECT_EQ(CopyPayload(payload, false)->GetAttributes(),
            (CKestXmlObject::Attributes{{"title", "<"}, {"Title", "caf\1#233; & \1#8212;"}}));
  EXPECT_EQ(CopyPayload(payload, true)->GetAttributes()[1].second, "caf\xE9 & \1#8212;");
}

// ---- records

std::unique_ptr<CKestXmlObject> Object(const char* tag, const char* id) {
  auto object = std::make_unique<CKestXmlObject>(tag);
  if (*id) {
    object->SetAttribute("id", id);
  }
  return object;
}

std::string Ids(const CKestXmlObject* container) {
  std::string ids;
  for (const auto& child : container->GetChildren()) {
    CString id;
    child->GetAttribute("id", id);
    ids += (ids.empty() ? "" : " ") + id;
    if (child->HasTag("toolbar") || child->HasTag("category")) {
      ids += "(" + Ids(child.get()) + ")";
    }
  }
  return ids;
}

TEST(RecordChanges, InsertUndoAndRemove) {
  CKestGenericXmlFile file = XmlFile(ConfigSample("KRDocumentTypes.xml"));
  CKestDocumentTypeChangeInsert insert;
  auto html = Object("DocumentType", "html");
  html->SetAttribute("title", "A &amp; B");
  insert.AppendChild(std::move(html));
  insert.AppendChild(std::make_unique<CKestXmlComment>("skipped"));
  insert.AppendChild(Object("documenttype", "New"));
  ASSERT_EQ(insert.MakeChange(nullptr, &file, nullptr), Code::kSuccess);
  EXPECT_EQ(Ids(file.FindTag("documenttypes")), "html ASP-JS New");
  EXPECT_EQ(*file.FindTag("documenttype")->FindAttribute("title"), "A & B") << "a file holds values";
  EXPECT_EQ(insert.DescribeInWords(), "document type \"html\"\ndocument type \"New\"");
  EXPECT_EQ(insert.UndoChange(nullptr, &file, nullptr), Code::kSuccess);
  EXPECT_EQ(Ids(file.FindTag("documenttypes")), "ASP-JS New") << "the undo stops after the first";
  CKestDocumentTypeChangeRemove remove;
  remove.SetID("asp-js");
  EXPECT_EQ(remove.MakeChange(nullptr, &file, nullptr), Code::kSuccess);
  EXPECT_EQ(remove.MakeChange(nullptr, &file, nullptr), Code::kDocumentTypeFailed);
  EXPECT_EQ(Ids(file.FindTag("documenttypes")), "New");
}

TEST(RecordChanges, ManyAreOverwrittenAsFewAre) {
  CKestGenericXmlFile file = XmlFile("<doc><documenttypes><documenttype id=\"D3\"/></documenttypes>"
                                     "<toolbarset><toolbar id=\"T\"><button id=\"D3\"/></toolbar></toolbarset></doc>");
  CKestDocumentTypeChangeInsert records;
  CKestToolbarItemChangeInsert items;
  items.SetPrependTo("T");
  for (const char* id : {"d0", "d1", "d2", "d3", "d4", "d5", "d6", "d7", "D1", "", ""}) {
    records.AppendChild(Object("documenttype", id));
    items.AppendChild(Object("button", id));
  }
  EXPECT_EQ(records.MakeChange(nullptr, &file, nullptr), Code::kSuccess);
  EXPECT_EQ(Ids(file.FindTag("documenttypes")), "d3 d0 D1 d2 d4 d5 d6 d7  ");
  EXPECT_EQ(items.MakeChange(nullptr, &file, nullptr), Code::kSuccess);
  EXPECT_EQ(Ids(file.FindTag("toolbarset")), "T(d0 d2 d4 d5 d6 d7 d1   d3)");
}

// ---- toolbars and insert bar

TEST(ToolbarItems, GoWhereTheLocationSays) {
  const std::tuple<int, const char*, const char*, Code, const char*, const char*> rows[] = {
      {Action::kInsertBefore, "b", "", Code::kSuccess, "T(a x y b) U(c)", "T(a b) U(c)"},
      {Action::kInsertAfter, "B", "", Code::kSuccess, "T(a b x y) U(c)", "T(a b) U(c)"},
      {Action::kPrependTo, "u", "", Code::kSuccess, "T(a b) U(x y c)", "T(a b) U(c)"},
      {Action::kAppendTo, "T", "", Code::kSuccess, "T(a b x y) U(c)", "T(a b) U(c)"},
      {Action::kInsertAfter, "none", "U", Code::kSuccess, "T(a b) U(c x y)", "T(a b) U(c)"},
      {Action::kNoAction, "", "", Code::kPlacedInDefaultToolbar, "T(a b) U(c) Miscellaneous_Toolbar(x y)",
       "T(a b) U(c) Miscellaneous_Toolbar()"},
      {Action::kAppendTo, "none", "U", Code::kPlacedInDefaultToolbar, "T(a b) U(c) Miscellaneous_Toolbar(x y)",
       "T(a b) U(c) Miscellaneous_Toolbar()"},
  };
  for (const auto& [action, location, group, code, ids, undone] : rows) {
    CKestGenericXmlFile file = XmlFile("<toolbarset><toolbar id=\"T\"><button id=\"a\"/><button id=\"b\"/></toolbar>"
                                       "<toolbar id=\"U\"><button id=\"c\"/></toolbar></toolbarset>");
    CKestToolbarItemChangeInsert insert;
    insert.SetAction(action, location);
    insert.SetToolbarID(group);
    insert.AppendChild(Object("button", "x"));
    insert.AppendChild(Object("button", "y"));
    for (int i = 0; i < 2; ++i) { // what is there is overwritten in place
      EXPECT_EQ(insert.MakeChange(nullptr, &file, nullptr), code);
      EXPECT_EQ(Ids(file.FindTag("toolbarset")), ids);
    }
    EXPECT_EQ(insert.UndoChange(nullptr, &file, nullptr), Code::kSuccess);
    EXPECT_EQ(Ids(file.FindTag("toolbarset")), undone);
  }
}

TEST(InsertBarGroups, MergePlaceAndUndo) {
  const std::tuple<int, const char*, const char*> rows[] = {
      {Action::kInsertAfter, "A", "A(a n) X(x) Y() B()"},
      {Action::kInsertBefore, "B", "A(a n) X(x) Y() B()"},
      {Action::kInsertAfter, "none", "A(a n) B() X(x) Y()"},
  };
  for (const auto& [action, location, ids] : rows) {
    CKestGenericXmlFile file =
        XmlFile("<insertbar><category id=\"A\"><button id=\"a\"/></category><category id=\"B\"/></insertbar>");
    CKestInsertbarChangeInsert insert;
    insert.SetAction(action, location);
    auto x = Object("category", "X");
    x->AppendChild(Object("button", "x"));
    insert.AppendChild(std::move(x));
    auto merged = Object("category", "a");
    merged->AppendChild(Object("button", "n"));
    merged->AppendChild(Object("button", ""));
    insert.AppendChild(std::move(merged));
    insert.AppendChild(Object("category", "Y"));
    EXPECT_EQ(insert.MakeChange(nullptr, &file, nullptr), Code::kSuccess);
    EXPECT_EQ(Ids(file.FindTag("insertbar")), ids);
    EXPECT_EQ(insert.UndoChange(nullptr, &file, nullptr), Code::kSuccess);
    EXPECT_EQ(Ids(file.FindTag("insertbar")), "A(a) B()");
    CKestInsertbarItemChangeRemove remove;
    remove.SetID("A");
    EXPECT_EQ(remove.MakeChange(nullptr, &file, nullptr), Code::kSuccess);
    EXPECT_EQ(Ids(file.FindTag("insertbar")), "A() B()");
    EXPECT_EQ(remove.MakeChange(nullptr, &file, nullptr), Code::kInsertBarFailed);
  }
}

// ---- text files

TEST(ExtensionsChanges, FileInChangeFileOut) {
  const std::tuple<const char*, const char*, const char*, const char*, const char*> rows[] = {
      {"HTM,HTML:HTML Documents\r\n", "SHTM", "html documents", "HTM,HTML,SHTM:HTML Documents\r\n",
       "HTM,HTML:HTML Documents\r\n"},
      {"HTM:HTML Documents", "XYZ", "Mine", "HTM:HTML Documents\r\nXYZ:Mine\r\n", "HTM:HTML Documents\r\n"},
      {"HTM:HTML Documents and more\r\n", "XYZ", "HTML Documents",
       "HTM:HTML Documents and more\r\nXYZ:HTML Documents\r\n", "HTM:HTML Documents and more\r\n"},
      {"", "XYZ", "C &amp; D", "XYZ:C & D\r\n", ""},
      {"XYZ,HTM:Mine\r\n", "xyz", "Mine", "HTM,xyz:Mine\r\n", "HTM:Mine\r\n"},
  };
  for (const auto& [in, list, description, inserted, undone] : rows) {
    CKestExtensionsChangeInsert insert;
    insert.SetExtension(list);
    insert.SetDescription(description);
    CheckTextInsert(insert, in, inserted, undone);
  }
}

TEST(ExtensionsChanges, RemovalTakesWholeEntriesAlone) {
  const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
      {"HTM,HTML,SHTML:H\r\n", "html", "", "HTM,SHTML:H\r\n"},
      {"HTM,SHTML:H\r\n", "HTM", "", "SHTML:H\r\n"},
      {"HTM:H\nJS:J\n", "HTM", "", "JS:J\n"},
      {"HTM:H\r\n", "HTM", "Other", "HTM:H\r\n"},
      {"A,HTM:All\r\nHTM,B:H\r\n", "HTM", "", "A:All\r\nB:H\r\n"},
      {"A,A,B,B:x\r\n", "A,B", "", ""},
      {"JS:HTM\r\n", "HTM", "", "JS:HTM\r\n"},
  };
  for (const auto& [in, list, description, out] : rows) {
    CKestTextConfigFile file = TextFile(in);
    CKestExtensionsChangeRemove remove;
    remove.SetExtension(list);
    remove.SetDescription(description);
    EXPECT_EQ(remove.MakeChange(nullptr, &file, nullptr), Code::kSuccess);
    EXPECT_EQ(file.GetContent(), out) << in;
  }
  CKestExtensionsChangeInsert insert;
  CKestTextConfigFile file;
  EXPECT_EQ(insert.MakeChange(nullptr, &file, nullptr), Code::kExtensionsInsertWithoutList);
}

TEST(FtpMapChanges, LinesStandInOrder) {
  const std::string sample = ConfigSample("FTPExtensionMap.txt");
  const std::tuple<const char*, int, const char*, std::size_t> rows[] = {
      {"aaa", 0, "aaa\tBINARY\r\n", sample.find("ASP\t")},
      {"HTM", 1, "HTM\tASCII\r\n", sample.find("SHTM\t")},
      {"zzz", 0, "zzz\tBINARY\r\n", sample.size()},
  };
  for (const auto& [extension, type, line, at] : rows) {
    CKestFTPExtensionMapChangeInsert insert;
    insert.SetExtension(extension);
    insert.SetType(type);
    CheckTextInsert(insert, sample, std::string(sample).insert(at, line), sample);
  }
  CKestTextConfigFile withFeeds = TextFile("HTM\tASCII\nTXT\tASCII\n");
  CKestFTPExtensionMapChangeInsert insert;
  insert.SetExtension("HTM");
  EXPECT_EQ(insert.MakeChange(nullptr, &withFeeds, nullptr), Code::kSuccess);
  EXPECT_EQ(withFeeds.GetContent(), "HTM\tBINARY\r\nTXT\tASCII\n");
}

TEST(SourceFormatChanges, EntriesStandInOrderOnLinesOfTheirOwn) {
  const std::string sample = ConfigSample("SourceFormat.txt");
  for (const auto& [name, next] : {std::pair{"abbr", "<br "}, {"Strong", "<table "}, {"zz", "<?attributes>"}}) {
    CKestSourceFormatChangeElementInsert insert;
    insert.SetName(name);
    insert.SetIndent(TriStateBool::kTrue);
    insert.SetNoFormat(TriStateBool::kFalse);
    insert.SetIndentGroup(3);
    const std::string line = "<" + std::string(name) + " indent igroup=\"3\">\r\n";
    CheckTextInsert(insert, sample, std::string(sample).insert(sample.find(next), line), sample);
  }
  CKestSourceFormatChangeElementInsert escaped;
  escaped.SetName("b");
  escaped.SetBreak("A&amp;B");
  CString line;
  escaped.CreateTag(line, false);
  EXPECT_EQ(line, "<b break=\"A&B\">") << "as the name, the text that is meant";
  CKestTextConfigFile file = TextFile(sample);
  CKestSourceFormatChangeAttributeRemove remove;
  remove.SetName("STYLE");
  EXPECT_EQ(remove.MakeChange(nullptr, &file, nullptr), Code::kSuccess);
  EXPECT_NE(file.GetContent().find("<align namecase=\"lower\">\r\n<?end>"), CString::npos);
}

TEST(SourceFormatChanges, FailuresLeaveTheContentAlone) {
  const std::tuple<const char*, const char*, Code, Code> rows[] = {
      {"<?elements>\r\n<?end>", "x", Code::kElementsSectionMissing, Code::kAttributesSectionMissing},
      {"<?elements>\r\n<?attributes>\r\n<?end>", "", Code::kElementInsertWithoutName,
       Code::kAttributeInsertWithoutName},
      {"<?elements>\r\n<x \r\n<?attributes>\r\n<x \r\n<?end>", "x", Code::kEntryUnclosed, Code::kEntryUnclosed},
      {"<?elements>\r\n<x a\r\n <y>\r\n<?attributes>\r\n<x a\r\n<y>\r\n<?end>", "x", Code::kEntryUnclosed,
       Code::kEntryUnclosed}, // its neighbour's ">" is not its own
  };
  for (const auto& [content, name, ofElement, ofAttribute] : rows) {
    CKestTextConfigFile file = TextFile(content);
    CKestSourceFormatChangeElementInsert element;
    element.SetName(name);
    CKestSourceFormatChangeAttributeInsert attribute;
    attribute.SetName(name);
    EXPECT_EQ(element.MakeChange(nullptr, &file, nullptr), ofElement) << content;
    EXPECT_EQ(attribute.MakeChange(nullptr, &file, nullptr), ofAttribute) << content;
    EXPECT_EQ(file.GetContent(), content);
  }
}

TEST(TextChanges, EveryPrefixOfASampleIsEditedWithoutHarm) {
  CKestExtensionsChangeInsert extensions;
  extensions.SetExtension("XYZ");
  extensions.SetDescription("HTML Documents");
  CKestFTPExtensionMapChangeInsert ftp;
  ftp.SetExtension("XYZ");
  CKestSourceFormatChangeElementInsert element;
  element.SetName("br");
  CKestSourceFormatChangeAttributeInsert attribute;
  attribute.SetName("style");
  const std::pair<const char*, CKestConfigChange*> rows[] = {{"Extensions.txt", &extensions},
                                                             {"FTPExtensionMap.txt", &ftp},
                                                             {"SourceFormat.txt", &element},
                                                             {"SourceFormat.txt", &attribute}};
  for (const auto& [name, change] : rows) {
    const std::string sample = ConfigSample(name);
    for (std::size_t cut = 0; cut <= sample.size(); ++cut) {
      CKestTextConfigFile file = TextFile(sample.substr(0, cut));
      if (change->MakeChange(nullptr, &file, nullptr) == Code::kSuccess) {
        const CString once = file.GetContent();
        EXPECT_EQ(change->MakeChange(nullptr, &file, nullptr), Code::kSuccess);
        EXPECT_EQ(file.GetContent(), once) << "twice is as once";
      } else {
        EXPECT_EQ(file.GetContent(), sample.substr(0, cut));
      }
      (void)change->UndoChange(nullptr, &file, nullptr);
    }
  }
}

} // namespace
} // namespace kest::test
