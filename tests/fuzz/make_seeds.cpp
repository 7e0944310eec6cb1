// Writes the inputs that fuzzing begins with, made of the examples and the samples of the tests.
// Usage: make_seeds SOURCE_FOLDER SEED_FOLDER

#include "support/zip_builder.h"

#include "journal/step_record.h"
#include "platform/machine/version_resource.h"
#include "platform/machine_folder/machine_ini.h"
#include "platform/machine_folder/registry_file.h"
#include "platform/text/sealed_line.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

namespace fs = std::filesystem;
using namespace kest;

namespace {

std::string Read(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  if (!in) {
    throw std::runtime_error("cannot read " + path.string());
  }
  return out.str();
}

class Seeds {
public:
  Seeds(fs::path source, fs::path target) : m_source(std::move(source)), m_target(std::move(target)) {}

  void WriteAll() {
    WriteDescriptions();
    WritePackages();
    WriteConfigFiles();
    WriteMachineFiles();
    WriteJournals();
  }

private:
  void Write(const std::string& target, const std::string& content) {
    fs::create_directories(m_target / target);
    std::ofstream out(m_target / target / ("seed-" + std::to_string(m_count++)), std::ios::binary);
    out << content;
    out.close();
    if (!out) {
      throw std::runtime_error("cannot write seeds of " + target);
    }
  }

  void WriteDescriptions() {
    Write("description", Read(m_source / "tests/data/description/every_element.kei"));
    for (const auto& example : fs::recursive_directory_iterator(m_source / "examples")) {
      if (example.path().extension() == ".kei") {
        Write("description", Read(example.path()));
      }
    }
  }

  void WritePackages() {
    for (const auto& example : fs::directory_iterator(m_source / "examples")) {
      std::vector<test::ZipItem> items;
      for (const auto& entry : fs::recursive_directory_iterator(example)) {
        if (entry.is_regular_file()) {
          test::ZipItem item;
          item.name = fs::relative(entry.path(), example).generic_string();
          item.content = Read(entry.path()).substr(0, 2048);
          item.deflated = items.size() % 2 == 0;
          items.push_back(std::move(item));
        }
      }
      Write("package", test::BuildZip(items));
    }
    Write("package", test::BuildZip({{.name = "a.kei", .content = "a"}}));
    Write("package", test::BuildZip({{.name = "Sub/", .attributes = 0040755u << 16}, {.name = "Sub/b.txt"}},
                                    {.large = true, .comment = "kest"}));
  }

  void WriteConfigFiles() {
    const fs::path config = m_source / "tests/data/config";
    for (const char* placement : {"append TMMenu_File", "before TMMenu_File_SaveAll", "prepend TMMainWindowBar",
                                  "after TMMenu_File_New", "append nowhere"}) {
      const std::string head = std::string("x\n") + placement + "\nmenu separator comment\n";
      Write("menus", head + Read(config / "Menus.xml"));
      Write("menus", head + Read(config / "BrokenMenus.xml"));
    }
    for (const char* file : {"toolbars.xml", "KRDocumentTypes.xml", "TagLibraries.vtm", "insertbar.xml", "help.xml"}) {
      Write("generic", "x\nTM_Toolbar_Main\nafter TM_Button_New\n" + Read(config / file));
      Write("generic", "x\nlabel\nappend TM_Toolbar_Site\n" + Read(config / file));
    }
    Write("text_files", "e\nPHP\nAll Documents\n" + Read(config / "Extensions.txt"));
    Write("text_files", "e\nhtml\nHTML Documents\n" + Read(config / "Extensions.txt"));
    Write("text_files", "f\nMAP\nascii\n" + Read(config / "FTPExtensionMap.txt"));
    Write("text_files", "f\nGIF\n\n" + Read(config / "FTPExtensionMap.txt"));
    Write("text_files", "s\ncaption\n\n" + Read(config / "SourceFormat.txt"));
    Write("text_files", "s2\ntable\n1.0\n" + Read(config / "SourceFormat.txt"));
    Write("text_files", "a\nclass\nlower\n" + Read(config / "SourceFormat.txt"));
  }

  void WriteMachineFiles() {
    const CString executable = MakeVersionedExecutable(CKestVersionNumber(6, 1, 2039));
    Write("version", executable);
    Write("ini", "machine\ncode-page\n932\n" + MachineIni::GetTemplate());
    Write("ini", "users\nAda\n2\n[machine]\r\ncurrent-user = Ada\r\n; who\r\n[users]\r\nAda = "
                 "2\r\n[processes]\r\nC:\\a.exe\r\n");

    RegistryFile file("\\\\Machine", 1252);
    std::string text;
    if (file.SetValue("Software\\Kestrel\\Tidemark", "Folder", "C:\\Program Files\\Kestrel", 1000) &&
        file.SetValue("Software\\Fonts", "Plain \"Block\"", "plain\nblk.ttf", 1000)) {
      text = file.GetText();
    }
    Write("registry", "Software\\Kestrel\nName\nvalue\n" + text);
    Write("registry", "software\\fonts\n\nd\xe4ta\n" + text +
                          "\n[Software\\\\Classes] 1234\n#time=1d9\n@=\"kest\"\n\"a\"=str(2):\"%windir%\"\n"
                          "\"b\"=hex:01,02,\\\n  03\n\"c\"=dword:00000001\n\"d\"=hex(2):41,00,00,00\n");
  }

  void WriteJournals() {
    const std::string head = "kest-journal\t1\t1\t1000\tinstall Table Tools\n";
    const std::string files =
        "+C:\\x\\new.txt=new\n+C:\\x\\old.txt=changed\n+^cpy1.tmp=old\n+^del1.tmp=deleted\n+^room=.\n";
    const std::string steps = "S\t0\t0\tcreate-folder\tfolder=C:\\x\n"
                              "S\t1\t0\tcopy\tto=C:\\x\\new.txt\tstage=^new1.tmp\n"
                              "S\t2\t0\tcopy\tto=C:\\x\\old.txt\tstage=^new2.tmp\tkept=^cpy1.tmp\n";
    for (const char* target : {"C:\\safe\\keep.txt", "C:\\x\\..\\safe\\keep.txt", "D:\\keep.txt",
                               "C:\\windows\\temp\\keep.txt"}) { // where no operation goes
      const std::string at = target;
      Write("journal", files + head + "S\t0\t0\tcopy\tto=" + at + "\tstage=^none\tkept=^del1.tmp\n");
      Write("journal", files + head + "S\t0\t0\tdelete\tpath=" + at + "\tkept=^del1.tmp\n");
      Write("journal", files + head + "S\t0\t0\tmove\tfrom=C:\\x\\old.txt\tto=" + at + "\n");
      Write("journal", files + head + "S\t0\t0\tnew-file\tpath=" + at + "\taside=^new1.tmp\n");
    }
    Write("journal", files + head + steps);
    Write("journal", files + head + steps + "D\n");
    Write("journal", files + head + steps + "U\t2\nR\t0\t1\nB\nX\n!torn\n");
    Write("journal",
          files + head + "F\tD:\\kest-1-a\n" + steps +
              "S\t3\t3\tnew-file\tpath=C:\\x\\new.txt\taside=^a\n"
              "S\t4\t4\tdelete\tpath=C:\\x\\b\tkept=^del1.tmp\nS\t5\t5\tdelete-folder\tfolder=C:\\y\taside=^dir\n"
              "S\t6\t6\tmove\tfrom=C:\\x\\a\tto=C:\\x\\b\nS\t7\t7\tmake-writable\tpath=C:\\x\\old.txt\n"
              "S\t8\t8\tbackup\tfile=C:\\x\\old.txt\tcopy=C:\\x\\old.bak\tstage=^b1\tkept=^cpy1.tmp\n"
              "S\t9\t9\tfont\tto=C:\\f.ttf\tstage=^f\tlisted=F\n");
    std::istringstream lines(head + steps);
    std::string sealed;
    for (std::string line; std::getline(lines, line);) {
      sealed += sealed_line::Seal(line);
    }
    Write("journal", sealed);
  }

  fs::path m_source;
  fs::path m_target;
  int m_count = 0;
};

} // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: make_seeds SOURCE_FOLDER SEED_FOLDER\n";
    return 2;
  }
  try {
    Seeds(argv[1], argv[2]).WriteAll();
  } catch (const std::exception& error) {
    std::cerr << "error: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
