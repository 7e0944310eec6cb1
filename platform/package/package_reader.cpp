#include "platform/package/package_reader.h"

#include "platform/machine/os.h"

#include <algorithm>
#include <unordered_set>

namespace kest {

namespace {

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
    if (IsYes(machine.DirectoryExists(path)) ? IsNoRealFolder(m_root + parent, CKestPath(relative).GetFileName())
                                             : !machine.CreateDirectory(path)) {
      return false;
    }
    m_made.insert(std::move(key));
    return true;
  }

private:
  static bool IsNoRealFolder(const CString& parent, const CString& name) {
    std::vector<FolderEntry> entries;
    if (!IsYes(CKestOS::GetMachine().ListFolder(parent, entries))) {
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
    crc = ContinueCrc(crc, bytes);
    if (!sink(bytes)) {
      return CKestPackage::kCannotWrite;
    }
    at += bytes.size();
    left -= bytes.size();
  }
  return CKestPackage::kGood;
}

// All packed bytes of an entry that is unpacked at once; empty when they cannot be read.
std::string_view PackageReader::ReadPacked(const ZipEntry& entry, std::uint64_t at) {
  const auto size = static_cast<std::size_t>(entry.packedSize);
  if (size <= FileWindow::kSize) {
    return m_window->At(at, size).substr(0, size);
  }
  m_packed.resize(std::max(m_packed.size(), size));
  for (std::size_t filled = 0; filled < size;) {
    const std::int64_t got = m_file->ReadAt(at + filled, m_packed.data() + filled, size - filled);
    if (got <= 0) {
      return {};
    }
    filled += static_cast<std::size_t>(got);
  }
  return std::string_view(m_packed).substr(0, size);
}

int PackageReader::Inflate(const ZipEntry& entry, std::uint64_t at, const Sink& sink, std::uint32_t& crc,
                           CString& problem) {
  Inflater::Result result = Inflater::Result::kUnreadable;
  const auto take = [&](std::string_view bytes) {
    crc = ContinueCrc(crc, bytes);
    return sink(bytes);
  };
  if (std::max(entry.size, entry.packedSize) <= Inflater::kMostAtOnce) {
    const std::string_view packed = ReadPacked(entry, at);
    if (!packed.empty() || entry.packedSize == 0) {
      std::string_view bytes;
      result = m_inflater.InflateAtOnce(packed, static_cast<std::size_t>(entry.size), bytes);
      if (result == Inflater::Result::kGood && !bytes.empty() && !take(bytes)) {
        result = Inflater::Result::kStopped;
      }
    }
  } else {
    const auto next = [&] {
      const std::string_view bytes = m_window->At(at, 1);
      at += bytes.size();
      return bytes;
    };
    result = m_inflater.InflateInPieces(entry.packedSize, entry.size, next, take);
  }
  switch (result) {
  case Inflater::Result::kGood:
    return CKestPackage::kGood;
  case Inflater::Result::kDamaged:
    problem = DescribeEntryProblem(entry.name, "is damaged: it does not unpack to the size that it promises");
    return CKestPackage::kDamaged;
  case Inflater::Result::kUnreadable:
    problem = DescribeEntryProblem(entry.name, "cannot be read");
    return CKestPackage::kUnreadable;
  case Inflater::Result::kNoMemory:
    problem = "out of memory";
    break;
  case Inflater::Result::kStopped:
    break;
  }
  return CKestPackage::kCannotWrite;
}

int PackageReader::WriteFile(const CString& path, const ZipEntry& entry, Sha256* hash, CString& problem) {
  Machine& machine = CKestOS::GetMachine();
  std::unique_ptr<MachineFile> file = machine.Open(path, OpenMode::kCreateNew);
  if (file == nullptr && IsYes(machine.FileExists(path))) {
    file = machine.Open(path, OpenMode::kReplace);
  }
  if (file == nullptr) {
    problem = CannotWrite(path);
    return CKestPackage::kCannotWrite;
  }
  const int code = Unpack(
      entry,
      [&](std::string_view bytes) {
        if (hash != nullptr) {
          hash->Add(bytes.data(), bytes.size()); // while the bytes are at hand
        }
        return file->Write(bytes.data(), bytes.size());
      },
      problem);
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

int PackageReader::UnPackTo(const CString& folder, const std::function<bool()>& stop, const UnpackedFile& unpacked,
                            CString& problem) {
  const CString root = WithBackslash(folder);
  FolderMaker folders(root);
  CString lastFolder;
  for (std::size_t number = 0; number < m_entries.size(); ++number) {
    const ZipEntry& entry = m_entries[number];
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
    Sha256 hash;
    const int code = WriteFile(root + entry.name, entry, unpacked ? &hash : nullptr, problem);
    if (code != CKestPackage::kGood) {
      return code;
    }
    if (unpacked) {
      unpacked(number, hash.Finish());
    }
  }
  return CKestPackage::kGood;
}

int PackageReader::Check(CString& problem) {
  int code = CKestPackage::kGood;
  for (std::size_t i = 0; i < m_entries.size() && code == CKestPackage::kGood; ++i) {
    code = Unpack(
        m_entries[i], [](std::string_view) { return true; }, problem);
  }
  return code;
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
