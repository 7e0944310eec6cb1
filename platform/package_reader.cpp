#include "platform/package_reader.h"

#include "platform/os.h"

#include <algorithm>
#include <unordered_set>

#include <zlib.h>

namespace kest {

namespace {

constexpr std::size_t kOutputSize = 128 * 1024;

std::uint32_t Crc(std::uint32_t crc, std::string_view bytes) {
  return static_cast<std::uint32_t>(
      crc32(crc, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size())));
}

// Makes the folders of a package below the one that it is unpacked to, each once, and none through a link.
class FolderMaker {
public:
  explicit FolderMaker(const CString& root) : m_root(root) {}

  // `relative` without trailing backslash; empty is the root.
  bool Make(const CString& relative) {
    if (relative.empty()) {
      return true;
    }
    CString key = text::Lower(relative);
    if (m_made.contains(key)) {
      return true;
    }
    const CString parent = WithoutBackslash(CKestPath(relative).GetFolder());
    if (!Make(parent)) {
      return false;
    }
    Machine& machine = CKestOS::GetMachine();
    const CString path = m_root + relative;
    if (machine.DirectoryExists(path) ? IsNoRealFolder(m_root + parent, CKestPath(relative).GetFileName())
                                      : !machine.CreateDirectory(path)) {
      return false;
    }
    m_made.insert(std::move(key));
    return true;
  }

private:
  static bool IsNoRealFolder(const CString& parent, const CString& name) {
    std::vector<FolderEntry> entries;
    if (!CKestOS::GetMachine().ListFolder(parent, entries)) {
      return true;
    }
    return std::none_of(entries.begin(), entries.end(), [&](const FolderEntry& entry) {
      return entry.isFolder && !entry.isLink && text::EqualNoCase(entry.name, name);
    });
  }

  CString m_root;
  std::unordered_set<CString> m_made;
};

CString CannotWrite(const CString& path) {
  const MachineError error = CKestOS::GetMachine().GetLastError();
  return "cannot write " + path + (error.reason.empty() ? CString() : ": " + error.reason);
}

} // namespace

// One stream for all entries: setting one up costs more than unpacking a small file.
struct PackageReader::Inflater {
  Inflater() : output(kOutputSize) { ready = inflateInit2(&stream, -MAX_WBITS) == Z_OK; }
  ~Inflater() {
    if (ready) {
      inflateEnd(&stream);
    }
  }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  z_stream stream{};
  bool ready = false;
  std::vector<char> output;
};

PackageReader::PackageReader() = default;
PackageReader::~PackageReader() = default;

int PackageReader::Open(const CString& path, const PackageLimits& limits, CString& problem) {
  m_file = CKestOS::GetMachine().Open(path, OpenMode::kRead);
  if (m_file == nullptr) {
    const MachineError error = CKestOS::GetMachine().GetLastError();
    problem = "the package " + path + " cannot be opened" + (error.reason.empty() ? CString() : ": " + error.reason);
    return CKestPackage::kUnreadable;
  }
  m_window = std::make_unique<FileWindow>(*m_file);
  return ReadZipDirectory(*m_file, limits, m_entries, problem);
}

int PackageReader::Unpack(const ZipEntry& entry, const Sink& sink, CString& problem) {
  std::uint64_t at = 0;
  if (!FindZipData(*m_window, entry, at, problem)) {
    return CKestPackage::kDamaged;
  }
  std::uint32_t crc = 0;
  const int code =
      entry.method == kZipStored ? CopyStored(entry, at, sink, crc, problem) : Inflate(entry, at, sink, crc, problem);
  if (code == CKestPackage::kGood && crc != entry.crc) {
    problem = DescribeEntryProblem(entry.name, "is damaged: its check sum is wrong");
    return CKestPackage::kDamaged;
  }
  return code;
}

int PackageReader::CopyStored(const ZipEntry& entry, std::uint64_t at, const Sink& sink, std::uint32_t& crc,
                              CString& problem) {
  for (std::uint64_t left = entry.size; left > 0;) {
    std::string_view bytes = m_window->At(at, 1);
    if (bytes.empty()) {
      problem = DescribeEntryProblem(entry.name, "cannot be read");
      return CKestPackage::kUnreadable;
    }
    bytes = bytes.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(left, bytes.size())));
    crc = Crc(crc, bytes);
    if (!sink(bytes)) {
      return CKestPackage::kCannotWrite;
    }
    at += bytes.size();
    left -= bytes.size();
  }
  return CKestPackage::kGood;
}

int PackageReader::Inflate(const ZipEntry& entry, std::uint64_t at, const Sink& sink, std::uint32_t& crc,
                           CString& problem) {
  if (m_inflater == nullptr) {
    m_inflater = std::make_unique<Inflater>();
  }
  z_stream& stream = m_inflater->stream;
  if (!m_inflater->ready || inflateReset(&stream) != Z_OK) {
    problem = "out of memory";
    return CKestPackage::kCannotWrite;
  }
  std::vector<char>& output = m_inflater->output;
  const auto damaged = [&] {
    problem = DescribeEntryProblem(entry.name, "is damaged: it does not unpack to the size that it promises");
    return CKestPackage::kDamaged;
  };
  std::uint64_t unread = entry.packedSize;
  std::uint64_t written = 0;
  stream.avail_in = 0;
  for (int status = Z_OK; status != Z_STREAM_END;) {
    if (stream.avail_in == 0 && unread > 0) {
      std::string_view bytes = m_window->At(at, 1);
      if (bytes.empty()) {
        problem = DescribeEntryProblem(entry.name, "cannot be read");
        return CKestPackage::kUnreadable;
      }
      bytes = bytes.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(unread, bytes.size())));
      stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data())); // zlib only reads it
      stream.avail_in = static_cast<uInt>(bytes.size());
      at += bytes.size();
      unread -= bytes.size();
    }
    stream.next_out = reinterpret_cast<Bytef*>(output.data());
    stream.avail_out = static_cast<uInt>(output.size());
    status = inflate(&stream, Z_NO_FLUSH);
    const std::size_t produced = output.size() - stream.avail_out;
    if ((status != Z_OK && status != Z_STREAM_END) || produced > entry.size - written) {
      return damaged();
    }
    const std::string_view bytes(output.data(), produced);
    crc = Crc(crc, bytes);
    written += produced;
    if (produced > 0 && !sink(bytes)) {
      return CKestPackage::kCannotWrite;
    }
  }
  return written == entry.size && unread == 0 && stream.avail_in == 0 ? CKestPackage::kGood : damaged();
}

int PackageReader::WriteFile(const CString& path, const ZipEntry& entry, CString& problem) {
  Machine& machine = CKestOS::GetMachine();
  std::unique_ptr<MachineFile> file = machine.Open(path, OpenMode::kCreateNew);
  if (file == nullptr && machine.FileExists(path)) {
    file = machine.Open(path, OpenMode::kReplace);
  }
  if (file == nullptr) {
    problem = CannotWrite(path);
    return CKestPackage::kCannotWrite;
  }
  const int code = Unpack(
      entry, [&](std::string_view bytes) { return file->Write(bytes.data(), bytes.size()); }, problem);
  if (code != CKestPackage::kGood) {
    problem = code == CKestPackage::kCannotWrite ? CannotWrite(path) : problem;
    return code;
  }
  if (!file->SetDate(entry.date) || !file->Close()) {
    problem = CannotWrite(path);
    return CKestPackage::kCannotWrite;
  }
  return CKestPackage::kGood;
}

int PackageReader::UnPackTo(const CString& folder, const std::function<bool()>& stop, CString& problem) {
  const CString root = WithBackslash(folder);
  FolderMaker folders(root);
  CString lastFolder;
  for (const ZipEntry& entry : m_entries) {
    if (stop && stop()) {
      problem = "the unpacking was stopped";
      return CKestPackage::kCannotWrite;
    }
    const CString inFolder = CKestPath(entry.name).GetFolder();
    if (inFolder != lastFolder) {
      if (!folders.Make(WithoutBackslash(inFolder))) {
        problem = CannotWrite(root + inFolder);
        return CKestPackage::kCannotWrite;
      }
      lastFolder = inFolder;
    }
    if (const int code = WriteFile(root + entry.name, entry, problem); code != CKestPackage::kGood) {
      return code;
    }
  }
  return CKestPackage::kGood;
}

int PackageReader::UnPackToMemory(const CString& name, std::uint64_t limit, CString& content, CString& problem) {
  const auto entry = std::find_if(m_entries.begin(), m_entries.end(),
                                  [&](const ZipEntry& each) { return text::EqualNoCase(each.name, name); });
  if (entry == m_entries.end()) {
    problem = DescribeEntryProblem(name, "is not in the package");
    return CKestPackage::kUnreadable;
  }
  if (entry->size > limit) {
    problem = DescribeEntryProblem(name, "is too large");
    return CKestPackage::kDamaged;
  }
  CString unpacked;
  const int code = Unpack(
      *entry,
      [&](std::string_view bytes) {
        unpacked.append(bytes);
        return true;
      },
      problem);
  if (code == CKestPackage::kGood) {
    content = std::move(unpacked);
  }
  return code;
}

} // namespace kest
