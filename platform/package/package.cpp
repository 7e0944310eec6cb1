#include "platform/package/package.h"

#include "platform/package/package_reader.h"
#include "platform/package/package_writer.h"

namespace kest {

namespace {

PackageLimits g_limits;

} // namespace

struct CKestPackage::Writer : PackageWriter {};
struct CKestPackage::Reader : PackageReader {};

CKestPackage::CKestPackage(const char* path) : m_path(path != nullptr ? path : "") {}

CKestPackage::~CKestPackage() = default;

int CKestPackage::Create(const char* path) {
  m_problem.clear();
  m_reader.reset();
  m_path = path != nullptr ? path : "";
  m_writer = std::make_unique<Writer>();
  const int code = m_writer->Create(m_path, m_problem);
  if (code != kGood) {
    m_writer.reset();
  }
  return code;
}

void CKestPackage::SetRelativeRoot(const CString& folder) { m_root = folder; }

int CKestPackage::PackFile(const char* path, bool relative, bool off) {
  const CString file = path != nullptr ? path : "";
  const bool below = relative && !m_root.empty() && text::StartsWithNoCase(file, m_root);
  const CString name = below ? file.substr(m_root.size()) : CKestPath(file).GetFileName();
  return PackFile(name.c_str(), path, relative, off);
}

int CKestPackage::PackFile(const char* entryName, const char* path, bool /*relative*/, bool /*off*/) {
  m_problem.clear();
  if (m_writer == nullptr || entryName == nullptr || path == nullptr) {
    m_problem = "no package is being made";
    return kCannotWrite;
  }
  return m_writer->Add(entryName, path, m_problem);
}

bool CKestPackage::Finish() {
  m_problem.clear();
  if (m_writer == nullptr) {
    m_problem = "no package is being made";
    return false;
  }
  const std::unique_ptr<Writer> writer = std::move(m_writer);
  return writer->Finish(m_problem);
}

void CKestPackage::SetLimits(const PackageLimits& limits) { g_limits = limits; }

int CKestPackage::OpenReader() {
  m_problem.clear();
  if (m_reader != nullptr) {
    return kGood;
  }
  auto reader = std::make_unique<Reader>();
  const int code = reader->Open(m_path, g_limits, m_problem);
  if (code == kGood) {
    m_reader = std::move(reader);
  }
  return code;
}

int CKestPackage::UnPackFileNames(std::vector<CString>& names) {
  const int code = OpenReader();
  if (code == kGood) {
    names.clear();
    names.reserve(m_reader->GetEntries().size());
    for (const ZipEntry& entry : m_reader->GetEntries()) {
      names.push_back(entry.name);
    }
  }
  return code;
}

int CKestPackage::GetEntries(std::vector<PackageEntry>& entries) {
  const int code = OpenReader();
  if (code == kGood) {
    entries.clear();
    entries.reserve(m_reader->GetEntries().size());
    for (const ZipEntry& entry : m_reader->GetEntries()) {
      entries.push_back({entry.name, entry.size, entry.date});
    }
  }
  return code;
}

int CKestPackage::UnPackTo(const CString& folder, const std::function<bool()>& stop, const UnpackedFile& unpacked) {
  const int code = OpenReader();
  return code == kGood ? m_reader->UnPackTo(folder, stop, unpacked, m_problem) : code;
}

int CKestPackage::Check() {
  const int code = OpenReader();
  return code == kGood ? m_reader->Check(m_problem) : code;
}

int CKestPackage::UnPackToMemory(const CString& name, std::uint64_t limit, CString& content) {
  const int code = OpenReader();
  return code == kGood ? m_reader->UnPackToMemory(name, limit, content, m_problem) : code;
}

const CString& CKestPackage::GetProblem() const { return m_problem; }

} // namespace kest
