#include "platform/machine/overlay_state.h"

#include <cerrno>
#include <cstring>

// Opening, and open files.

namespace kest {
namespace {

using Kind = MachineError::Kind;
using SharedState = std::shared_ptr<OverlayMachine::State>;

constexpr std::size_t kBlock = 256 * 1024;

/// A failure of the layer's own store.
bool FailByCode(OverlayMachine::State& state, int code, const CString& path) {
  (void)state.Fail(code == ENOSPC ? Kind::kDiskFull : Kind::kOther, path,
                   CString("what is written for a look cannot be kept: ") + std::strerror(code));
  if (state.unanswered.kind == Kind::kNone) {
    state.unanswered = state.error;
  }
  return false;
}

/// A file of the layer that is read.
class LayerReader : public MachineFile {
public:
  LayerReader(SharedState state, std::shared_ptr<const LayerBytes> bytes, CString path)
      : m_state(std::move(state)), m_bytes(std::move(bytes)), m_path(std::move(path)) {}

  std::int64_t Read(char* buffer, std::size_t count) override {
    const std::int64_t got = ReadAt(m_at, buffer, count);
    m_at += static_cast<std::uint64_t>(std::max<std::int64_t>(got, 0));
    return got;
  }
  std::int64_t ReadAt(std::uint64_t offset, char* buffer, std::size_t count) override {
    const int code = m_bytes->ReadAt(offset, buffer, count);
    return code == 0 || FailByCode(*m_state, code, m_path) ? static_cast<std::int64_t>(count) : -1;
  }
  bool Write(const char*, std::size_t) override { return Refuse(); }
  bool WriteAt(std::uint64_t, const char*, std::size_t) override { return Refuse(); }
  bool GetSize(std::uint64_t& size) override {
    size = m_bytes->GetSize();
    return true;
  }
  bool SetDate(const CKestDateTime&) override { return Refuse(); }
  bool Sync() override { return true; }
  bool Close() override { return true; }

private:
  bool Refuse() { return m_state->Fail(Kind::kAccess, m_path, "it was opened to be read"); }

  SharedState m_state;
  std::shared_ptr<const LayerBytes> m_bytes;
  CString m_path;
  std::uint64_t m_at = 0;
};

/// A file that is written. With kReplace it has no name until it is closed.
class LayerWriter : public MachineFile {
public:
  LayerWriter(SharedState state, std::shared_ptr<LayerFile> file, CString path, OpenMode mode)
      : m_state(std::move(state)), m_file(std::move(file)), m_path(std::move(path)), m_mode(mode) {}
  ~LayerWriter() override {
    if (m_mode != OpenMode::kReplace) {
      (void)Close(); // what was written is there already
    }
  }

  std::int64_t Read(char* buffer, std::size_t count) override {
    const std::int64_t got = ReadAt(m_at, buffer, count);
    m_at += static_cast<std::uint64_t>(std::max<std::int64_t>(got, 0));
    return got;
  }
  std::int64_t ReadAt(std::uint64_t offset, char* buffer, std::size_t count) override {
    const int code = m_file->bytes->ReadAt(offset, buffer, count);
    return code == 0 || Break(code) ? static_cast<std::int64_t>(count) : -1;
  }
  bool Write(const char* bytes, std::size_t count) override {
    LayerBytes* const own = m_isClosed ? nullptr : m_state->OwnBytes(*m_file, m_path);
    const int code = own != nullptr ? own->Append({bytes, count}) : EBADF;
    return code == 0 || Break(code);
  }
  bool WriteAt(std::uint64_t offset, const char* bytes, std::size_t count) override {
    if (m_mode == OpenMode::kAppend) {
      return m_state->Fail(Kind::kAccess, m_path, "it was opened to be added to");
    }
    LayerBytes* const own = m_isClosed ? nullptr : m_state->OwnBytes(*m_file, m_path);
    const int code = own != nullptr ? own->WriteAt(offset, {bytes, count}) : EBADF;
    return code == 0 || Break(code);
  }
  bool GetSize(std::uint64_t& size) override {
    size = m_file->bytes->GetSize();
    return true;
  }
  bool SetDate(const CKestDateTime& date) override {
    m_date = date;
    return true;
  }
  bool Sync() override { return !m_isBroken; }
  bool Close() override {
    if (m_isClosed) {
      return !m_isBroken;
    }
    m_isClosed = true;
    if (const int code = m_isBroken ? 0 : m_file->bytes->Seal(); code != 0) {
      (void)Break(code);
    }
    m_file->date = m_date ? m_date : m_state->below.Now();
    if (!m_isBroken && m_mode == OpenMode::kReplace) {
      OverlayMachine::State::Place place;
      const bool isPut = m_state->FindPlace(m_path, place) &&
                         (!place.IsFolder() || m_state->Fail(Kind::kExists, m_path, "a folder has the name"));
      m_isBroken = !isPut;
      if (isPut) {
        m_state->Put(place, m_file);
      }
    }
    return !m_isBroken;
  }

private:
  bool Break(int code) {
    m_isBroken = true;
    return FailByCode(*m_state, code, m_path);
  }

  SharedState m_state;
  std::shared_ptr<LayerFile> m_file;
  CString m_path;
  OpenMode m_mode;
  std::uint64_t m_at = 0;
  std::optional<CKestDateTime> m_date;
  bool m_isClosed = false;
  bool m_isBroken = false;
};

std::unique_ptr<MachineFile> OpenToRead(const SharedState& state, const CString& path) {
  LayerSpot spot;
  if (!state->Find(path, spot)) {
    return nullptr;
  }
  if (!spot.below.empty()) {
    return state->below.Open(spot.below, OpenMode::kRead);
  }
  if (spot.entry == nullptr || spot.isFolder || spot.parsed.endsInBackslash) {
    (void)(spot.isFolder || spot.parsed.endsInBackslash ? state->Fail(Kind::kRefused, path, "it is no plain file")
                                                        : state->Fail(Kind::kNotFound, path, "no such file or folder"));
    return nullptr;
  }
  const LayerFile& file = *spot.entry->file;
  if (file.bytes == nullptr) {
    return state->below.Open(file.below, OpenMode::kRead);
  }
  return std::make_unique<LayerReader>(state, file.bytes, path);
}

} // namespace

LayerBytes* OverlayMachine::State::OwnBytes(LayerFile& file, const CString& path) {
  if (file.bytes != nullptr && file.bytes.use_count() == 1) {
    return file.bytes.get();
  }
  auto own = std::make_shared<LayerBytes>(store);
  int code = file.bytes != nullptr ? file.bytes->CopyTo(*own) : 0;
  if (file.bytes == nullptr && !file.below.empty()) {
    const std::unique_ptr<MachineFile> old = below.Open(file.below, OpenMode::kRead);
    CString block(kBlock, '\0');
    std::int64_t got = old != nullptr ? 1 : -1;
    while (code == 0 && got > 0) {
      got = old->Read(block.data(), block.size());
      code = got > 0 ? own->Append({block.data(), static_cast<std::size_t>(got)}) : 0;
    }
    if (got < 0) {
      (void)Fail(below.GetLastError(), path);
      return nullptr;
    }
  }
  if (code != 0) {
    (void)FailByCode(*this, code, path);
    return nullptr;
  }
  file.bytes = std::move(own);
  return file.bytes.get();
}

std::unique_ptr<MachineFile> OverlayMachine::Open(const CString& path, OpenMode mode) {
  if (mode == OpenMode::kRead) {
    return OpenToRead(m_state, path);
  }
  State::Place place;
  if (!m_state->FindPlace(path, place) || !m_state->MayChange(*place.folder, path)) {
    return nullptr;
  }
  if (place.IsFolder()) {
    (void)m_state->Fail(Kind::kExists, path, "a folder has the name");
    return nullptr;
  }
  if (place.entry != nullptr && m_state->IsReadOnly(*place.entry)) {
    (void)m_state->Fail(Kind::kAccess, path, "the file is read-only");
    return nullptr;
  }
  if (place.entry != nullptr && mode == OpenMode::kCreateNew) {
    (void)m_state->Fail(Kind::kExists, path, "the name is taken");
    return nullptr;
  }
  std::shared_ptr<LayerFile> file;
  if (mode == OpenMode::kAppend && place.entry != nullptr) {
    if (place.entry->isLink) {
      (void)m_state->Fail(Kind::kRefused, path, "a link leads out of the drive");
      return nullptr;
    }
    (void)m_state->Own(*place.entry);
    file = place.entry->file;
    if (m_state->OwnBytes(*file, path) == nullptr) {
      return nullptr;
    }
  } else {
    file = std::make_shared<LayerFile>();
    file->bytes = std::make_shared<LayerBytes>(m_state->store);
    file->date = m_state->below.Now();
    if (mode != OpenMode::kReplace) {
      m_state->Put(place, file);
    }
  }
  return std::make_unique<LayerWriter>(m_state, std::move(file), path, mode);
}

} // namespace kest
