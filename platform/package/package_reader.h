#pragma once

#include "platform/package/inflater.h"
#include "platform/package/package.h"
#include "platform/package/zip_directory.h"
#include "platform/text/sha256.h"

#include <functional>

namespace kest {

/// Reads one package. Nothing is unpacked that the directory's judgement did not let pass; what is unpacked is checked
/// against the sizes and check sums promised there.
class PackageReader {
public:
  PackageReader();
  ~PackageReader();
  PackageReader(const PackageReader&) = delete;
  PackageReader& operator=(const PackageReader&) = delete;

  /// Opens and judges. CKestPackage::kGood or a code, with `problem` in words; once only.
  [[nodiscard]] int Open(const CString& path, const PackageLimits& limits, CString& problem);
  [[nodiscard]] const std::vector<ZipEntry>& GetEntries() const { return m_entries; }
  [[nodiscard]] int UnPackTo(const CString& folder, const std::function<bool()>& stop, const UnpackedFile& unpacked,
                             CString& problem);
  [[nodiscard]] int Check(CString& problem);
  [[nodiscard]] int UnPackToMemory(const CString& name, std::uint64_t limit, CString& content, CString& problem);

private:
  using Sink = std::function<bool(std::string_view)>;

  [[nodiscard]] int Unpack(const ZipEntry& entry, const Sink& sink, CString& problem);
  [[nodiscard]] int CopyStored(const ZipEntry& entry, std::uint64_t at, const Sink& sink, std::uint32_t& crc,
                               CString& problem);
  [[nodiscard]] int Inflate(const ZipEntry& entry, std::uint64_t at, const Sink& sink, std::uint32_t& crc,
                            CString& problem);
  [[nodiscard]] std::string_view ReadPacked(const ZipEntry& entry, std::uint64_t at);
  [[nodiscard]] int WriteFile(const CString& path, const ZipEntry& entry, Sha256* hash, CString& problem);

  std::unique_ptr<MachineFile> m_file;
  std::unique_ptr<FileWindow> m_window;
  std::vector<ZipEntry> m_entries;
  Inflater m_inflater;
  CString m_packed; ///< of an entry too large for the window
};

} // namespace kest
