#pragma once

#include "platform/package/zip_directory.h"

#include <unordered_set>

namespace kest {

/// Builds one package. Each file is read and packed when it is added; the archive itself is put together at the end.
/// Packed bytes wait in memory and, beyond a few MiB, in a file of the private temporary folder.
class PackageWriter {
public:
  PackageWriter();
  ~PackageWriter();
  PackageWriter(const PackageWriter&) = delete;
  PackageWriter& operator=(const PackageWriter&) = delete;

  /// CKestPackage::kGood or a code, with `problem` in words; so each of them.
  [[nodiscard]] int Create(const CString& path, CString& problem);
  /// `name` with either kind of slash. A name already there is kept and gives kGood.
  [[nodiscard]] int Add(const CString& name, const CString& path, CString& problem);
  [[nodiscard]] bool Finish(CString& problem);

private:
  struct Deflater;
  class Spool;

  [[nodiscard]] int Pack(MachineFile& file, ZipEntry& entry, const CString& path, CString& problem);

  std::unique_ptr<MachineFile> m_file;
  std::unique_ptr<Deflater> m_deflater;
  std::unique_ptr<Spool> m_spool;
  std::vector<ZipEntry> m_entries; // offsets are those in the spool
  std::unordered_set<CString> m_names;
};

} // namespace kest
