#include "platform/package/package_writer.h"

#include "platform/machine/os.h"
#include "platform/package/package_names.h"
#include "platform/package/zip_archive.h"
#include "platform/package/zip_directory.h"

#include <algorithm>

#include <zlib.h>

namespace kest {

namespace {

constexpr std::size_t kChunk = 256 * 1024;
constexpr std::size_t kMostInMemory = 8 * 1024 * 1024;
constexpr int kLevel = 6;
constexpr int kMemoryLevel = 8;
// More than a deflated chunk can take.
constexpr std::size_t kPackedChunk = kChunk + kChunk / 16 + 1024;

CString CannotRead(const CString& path) {
  const MachineError error = CKestOS::GetMachine().GetLastError();
  return "cannot read " + path + (error.reason.empty() ? CString() : ": " + error.reason);
}

} // namespace

// One stream for all files: setting one up costs more than packing a small file.
struct PackageWriter::Deflater {
  Deflater() : input(kChunk), output(kPackedChunk) {
    ready = deflateInit2(&stream, kLevel, Z_DEFLATED, -MAX_WBITS, kMemoryLevel, Z_DEFAULT_STRATEGY) == Z_OK;
  }
  ~Deflater() {
    if (ready) {
      deflateEnd(&stream);
    }
  }
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;

  z_stream stream{};
  bool ready = false;
  std::vector<char> input;
  std::vector<char> output;
};

// The packed bytes of all entries, one after the other.
class PackageWriter::Spool final : public PackedBytes {
public:
  ~Spool() override {
    m_file.reset();
    try {
      if (!m_path.empty()) {
        CKestOS::DeleteFile(m_path);
      }
    } catch (const std::bad_alloc&) {
      return; // it goes with the private folder
    }
  }

  [[nodiscard]] std::uint64_t GetSize() const { return m_size; }

  bool Append(std::string_view bytes) {
    m_memory.append(bytes);
    m_size += bytes.size();
    return m_memory.size() < kMostInMemory || MoveToFile();
  }

  // Ends appending.
  bool PrepareToRead() {
    if (m_path.empty()) {
      return true;
    }
    if (!MoveToFile() || !m_file->Close()) {
      return false;
    }
    m_file = CKestOS::GetMachine().Open(m_path, OpenMode::kRead);
    m_window = m_file != nullptr ? std::make_unique<FileWindow>(*m_file) : nullptr;
    return m_window != nullptr;
  }

  std::string_view At(std::uint64_t offset) override {
    return m_window != nullptr ? m_window->At(offset, 1) : std::string_view(m_memory).substr(offset);
  }

private:
  bool MoveToFile() {
    if (m_file == nullptr) {
      CString folder;
      if (!CKestOS::GetTempPath(folder) || !CKestOS::GetTempFileName(folder, "pak", m_path)) {
        return false;
      }
      m_file = CKestOS::GetMachine().Open(m_path, OpenMode::kReplace);
    }
    const bool written = m_file != nullptr && (m_memory.empty() || m_file->Write(m_memory.data(), m_memory.size()));
    m_memory.clear();
    return written;
  }

  CString m_memory;
  CString m_path;
  std::unique_ptr<MachineFile> m_file;
  std::unique_ptr<FileWindow> m_window;
  std::uint64_t m_size = 0;
};

PackageWriter::PackageWriter() = default;
PackageWriter::~PackageWriter() = default;

int PackageWriter::Create(const CString& path, CString& problem) {
  m_file = CKestOS::GetMachine().Open(path, OpenMode::kReplace);
  if (m_file == nullptr) {
    const MachineError error = CKestOS::GetMachine().GetLastError();
    problem = "cannot create " + path + (error.reason.empty() ? CString() : ": " + error.reason);
    return CKestPackage::kCannotWrite;
  }
  m_deflater = std::make_unique<Deflater>();
  m_spool = std::make_unique<Spool>();
  return CKestPackage::kGood;
}

int PackageWriter::Add(const CString& name, const CString& path, CString& problem) {
  ZipEntry entry;
  entry.name = name;
  std::replace(entry.name.begin(), entry.name.end(), '/', '\\'); // "/" is never the second byte of a character
  if (const char* reason = JudgePackageName(entry.name)) {
    problem = DescribeEntryProblem(entry.name, reason);
    return CKestPackage::kDamaged;
  }
  CString folded = text::Lower(entry.name);
  if (m_names.contains(folded)) {
    return CKestPackage::kGood;
  }
  const auto file = CKestOS::GetMachine().Open(path, OpenMode::kRead);
  if (file == nullptr || !CKestOS::GetFileDateTime(path, entry.date)) {
    problem = CannotRead(path);
    return CKestPackage::kUnreadable;
  }
  if (const int code = Pack(*file, entry, path, problem); code != CKestPackage::kGood) {
    return code;
  }
  m_names.insert(std::move(folded));
  m_entries.push_back(std::move(entry));
  return CKestPackage::kGood;
}

int PackageWriter::Pack(MachineFile& file, ZipEntry& entry, const CString& path, CString& problem) {
  Deflater& deflater = *m_deflater;
  z_stream& stream = deflater.stream;
  if (!deflater.ready || deflateReset(&stream) != Z_OK) {
    problem = "out of memory";
    return CKestPackage::kCannotWrite;
  }
  entry.offset = m_spool->GetSize();
  entry.method = kZipDeflated;
  for (bool atEnd = false; !atEnd;) {
    std::size_t filled = 0;
    while (filled < kChunk && !atEnd) {
      const std::int64_t got = file.Read(deflater.input.data() + filled, kChunk - filled);
      if (got < 0) {
        problem = CannotRead(path);
        return CKestPackage::kUnreadable;
      }
      filled += static_cast<std::size_t>(got);
      atEnd = got == 0;
    }
    const std::string_view plain(deflater.input.data(), filled);
    entry.crc = static_cast<std::uint32_t>(
        crc32(entry.crc, reinterpret_cast<const Bytef*>(plain.data()), static_cast<uInt>(plain.size())));
    const bool isWhole = atEnd && entry.size == 0;
    entry.size += filled;
    stream.next_in = reinterpret_cast<Bytef*>(deflater.input.data());
    stream.avail_in = static_cast<uInt>(filled);
    int status = Z_OK;
    do {
      stream.next_out = reinterpret_cast<Bytef*>(deflater.output.data());
      stream.avail_out = static_cast<uInt>(deflater.output.size());
      status = deflate(&stream, atEnd ? Z_FINISH : Z_NO_FLUSH);
      std::string_view packed(deflater.output.data(), deflater.output.size() - stream.avail_out);
      if (isWhole && packed.size() >= plain.size()) {
        // nothing is gained by deflating it
        entry.method = kZipStored;
        packed = plain;
        status = Z_STREAM_END;
      }
      if (!m_spool->Append(packed)) {
        problem = "no room for the packed files";
        return CKestPackage::kCannotWrite;
      }
    } while (stream.avail_out == 0 && status != Z_STREAM_END);
  }
  entry.packedSize = m_spool->GetSize() - entry.offset;
  return CKestPackage::kGood;
}

bool PackageWriter::Finish(CString& problem) {
  const std::unique_ptr<MachineFile> file = std::move(m_file);
  if (file == nullptr || m_entries.empty()) {
    problem = "nothing was packed";
    return false;
  }
  std::vector<PackageName> names;
  names.reserve(m_entries.size());
  for (const ZipEntry& entry : m_entries) {
    names.push_back({entry.name, false});
  }
  CString culprit;
  if (const char* reason = JudgePackageNames(names, m_entries.size() * kMostPackageName, culprit)) {
    problem = DescribeEntryProblem(culprit, reason);
    return false;
  }
  if (!m_spool->PrepareToRead()) {
    problem = "cannot read the packed files again";
    return false;
  }
  return WriteZipArchive(*file, m_entries, *m_spool, problem) && file->Close();
}

} // namespace kest
