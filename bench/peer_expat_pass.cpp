// peer_expat_pass FOLDER: reads every .kei file of the folder with a bare expat parser and keeps a record of each
// (name, version, type, author, description, products, files). No repairs, no checks: the least that a start-up can do.
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <expat.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

struct File {
  std::string source, destination;
  bool shared = false;
};
struct Product {
  std::string name, version;
  bool primary = false;
};
struct Record {
  std::string name, version, type, author, description, uiAccess;
  std::vector<Product> products;
  std::vector<File> files;
};
struct Pass {
  Record* record = nullptr;
  std::string* text = nullptr;
};

void Start(void* data, const char* name, const char** attributes) {
  Pass& pass = *static_cast<Pass*>(data);
  Record& record = *pass.record;
  const auto is = [](const char* a, const char* b) { return std::strcmp(a, b) == 0; };
  if (is(name, "file")) {
    File& file = record.files.emplace_back();
    for (; *attributes; attributes += 2) {
      if (is(*attributes, "name") || is(*attributes, "source")) {
        file.source = attributes[1];
      } else if (is(*attributes, "destination")) {
        file.destination = attributes[1];
      } else if (is(*attributes, "shared")) {
        file.shared = is(attributes[1], "true");
      }
    }
  } else if (is(name, "product")) {
    Product& product = record.products.emplace_back();
    for (; *attributes; attributes += 2) {
      if (is(*attributes, "name")) {
        product.name = attributes[1];
      } else if (is(*attributes, "version")) {
        product.version = attributes[1];
      } else if (is(*attributes, "primary")) {
        product.primary = is(attributes[1], "true");
      }
    }
  } else if (is(name, "kestrel-extension")) {
    for (; *attributes; attributes += 2) {
      if (is(*attributes, "name")) {
        record.name = attributes[1];
      } else if (is(*attributes, "version")) {
        record.version = attributes[1];
      } else if (is(*attributes, "type")) {
        record.type = attributes[1];
      }
    }
  } else if (is(name, "author")) {
    for (; *attributes; attributes += 2) {
      if (is(*attributes, "name")) {
        record.author = attributes[1];
      }
    }
  } else if (is(name, "description")) {
    pass.text = &record.description;
  } else if (is(name, "ui-access")) {
    pass.text = &record.uiAccess;
  }
}

void End(void* data, const char*) { static_cast<Pass*>(data)->text = nullptr; }

void Text(void* data, const char* text, int length) {
  Pass& pass = *static_cast<Pass*>(data);
  if (pass.text) {
    pass.text->append(text, static_cast<std::size_t>(length));
  }
}

bool ReadAll(const std::string& path, std::string& content) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status {};
  if (file < 0 || fstat(file, &status) != 0) {
    return false;
  }
  content.resize(static_cast<std::size_t>(status.st_size));
  const bool whole = read(file, content.data(), content.size()) == status.st_size;
  close(file);
  return whole;
}

} // namespace

int main(int argc, char** argv) {
  const std::string folder = argc > 1 ? argv[1] : ".";
  DIR* open = opendir(folder.c_str());
  if (!open) {
    return 1;
  }
  std::vector<Record> records;
  std::string content;
  XML_Parser parser = XML_ParserCreate(nullptr);
  while (const dirent* entry = readdir(open)) {
    const std::string name = entry->d_name;
    if (!name.ends_with(".kei") || !ReadAll(folder + "/" + name, content)) {
      continue;
    }
    Pass pass{&records.emplace_back()};
    XML_ParserReset(parser, "ISO-8859-1");
    XML_SetUserData(parser, &pass);
    XML_SetElementHandler(parser, Start, End);
    XML_SetCharacterDataHandler(parser, Text);
    if (XML_Parse(parser, content.data(), static_cast<int>(content.size()), 1) != XML_STATUS_OK) {
      records.pop_back();
    }
  }
  XML_ParserFree(parser);
  closedir(open);
  std::printf("%zu\n", records.size());
  return records.empty() ? 1 : 0;
}
