#include "host/terminal/console.h"

#include "manager/extension_manager.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>

namespace kest::host::console {
namespace {

std::atomic<bool> g_interrupted{false};
std::atomic<CKestExtensionManager*> g_engine{nullptr};
std::atomic<bool> g_working{false};
std::atomic<bool> g_saysWhatItDoes{false};

HANDLE HandleOf(int stream) { return reinterpret_cast<HANDLE>(_get_osfhandle(stream)); }

/// In a thread of the system. A second Ctrl-C ends the process; what it left is taken back at the next start.
BOOL WINAPI OnInterrupt(DWORD event) {
  if ((event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) || g_interrupted.exchange(true)) {
    return FALSE;
  }
  if (CKestExtensionManager* const engine = g_engine.load()) {
    engine->RequestCancel();
    if (g_working && g_saysWhatItDoes) {
      WriteAll(kError, "\r\033[KTaking back what was done ...\n");
    }
  }
  return TRUE;
}

std::string Utf8Of(const wchar_t* text, DWORD length) {
  const int wide = static_cast<int>(length);
  std::string utf8(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text, wide, nullptr, 0, nullptr, nullptr)),
                   '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, wide, utf8.data(), static_cast<int>(utf8.size()), nullptr, nullptr);
  return utf8;
}

} // namespace

void Prepare() {
  for (const int stream : {kInput, kOutput, kError}) {
    _setmode(stream, _O_BINARY);
    DWORD mode = 0;
    if (stream != kInput && GetConsoleMode(HandleOf(stream), &mode)) {
      SetConsoleMode(HandleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    }
  }
  SetConsoleOutputCP(CP_UTF8);
  SetConsoleCtrlHandler(OnInterrupt, TRUE);
}

bool IsTerminal(int stream) {
  DWORD mode = 0;
  return GetConsoleMode(HandleOf(stream), &mode) != FALSE;
}

bool UnderstandsColours() {
  DWORD mode = 0;
  return (GetConsoleMode(HandleOf(kError), &mode) || GetConsoleMode(HandleOf(kOutput), &mode)) &&
         (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

Size SizeOf(int stream) {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (!GetConsoleScreenBufferInfo(HandleOf(stream), &info)) {
    return {};
  }
  return {info.srWindow.Right - info.srWindow.Left + 1, info.srWindow.Bottom - info.srWindow.Top + 1};
}

bool WriteAll(int stream, std::string_view text) {
  while (!text.empty()) {
    constexpr std::size_t kMostAtOnce = 1U << 20;
    const int count = _write(stream, text.data(), static_cast<unsigned>(std::min(text.size(), kMostAtOnce)));
    if (count < 0) {
      return false;
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

int OpenLog(const std::string& path) {
  int stream = -1;
  const std::wstring wide = std::filesystem::path(path).wstring();
  _wsopen_s(&stream, wide.c_str(), _O_WRONLY | _O_CREAT | _O_APPEND | _O_BINARY | _O_NOINHERIT, _SH_DENYNO,
            _S_IREAD | _S_IWRITE);
  return stream;
}

void CloseLog(int stream) { _close(stream); }

Typed Read(std::string& bytes) {
  wchar_t buffer[512];
  DWORD count = 0;
  if (WasInterrupted()) {
    return Typed::kInterrupted;
  }
  if (!ReadConsoleW(HandleOf(kInput), buffer, static_cast<DWORD>(std::size(buffer)), &count, nullptr) || count == 0) {
    Sleep(50); // the note of a Ctrl-C comes from another thread
    return WasInterrupted() ? Typed::kInterrupted : Typed::kEnd;
  }
  if (buffer[0] == 26) { // Ctrl-Z
    return Typed::kEnd;
  }
  for (const char c : Utf8Of(buffer, count)) {
    if (c != '\r') {
      bytes += c;
    }
  }
  return Typed::kBytes;
}

KeyByKey::KeyByKey() {
  DWORD before = 0;
  if (GetConsoleMode(HandleOf(kInput), &before)) {
    m_before = std::make_shared<DWORD>(before);
    SetConsoleMode(HandleOf(kInput), before & ~static_cast<DWORD>(ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT));
  }
}

KeyByKey::~KeyByKey() {
  if (m_before) {
    SetConsoleMode(HandleOf(kInput), *static_cast<const DWORD*>(m_before.get()));
  }
}

void SetWorking(bool working) { g_working = working; }
void SetSaysWhatItDoes(bool says) { g_saysWhatItDoes = says; }
bool WasInterrupted() { return g_interrupted.load(); }
void SetInterruptible(CKestExtensionManager* engine) { g_engine.store(engine); }
CKestExtensionManager* GetInterruptible() { return g_engine.load(); }

} // namespace kest::host::console
