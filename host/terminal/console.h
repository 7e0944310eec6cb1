#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace kest {
class CKestExtensionManager;
}

/// What the terminal asks of the system: one source for each.
namespace kest::host::console {

constexpr int kInput = 0;
constexpr int kOutput = 1;
constexpr int kError = 2;

/// Has the three streams fit for use, and Ctrl-C noted instead of ending the process; a second one ends it.
void Prepare();
[[nodiscard]] bool IsTerminal(int stream);
/// Whether escape sequences are understood there, as far as that can be told.
[[nodiscard]] bool UnderstandsColours();
/// Columns and lines; 0 when unknown.
struct Size {
  int columns = 0;
  int lines = 0;
};
[[nodiscard]] Size SizeOf(int stream);

/// UTF-8. False with errno on failure.
bool WriteAll(int stream, std::string_view text);
/// A stream that adds to a file; -1 with errno on failure.
[[nodiscard]] int OpenLog(const std::string& path);
void CloseLog(int stream);

/// What came of waiting for input.
enum class Typed { kBytes, kNothing, kEnd, kInterrupted };
/// Adds what was typed to `bytes`, in UTF-8.
[[nodiscard]] Typed Read(std::string& bytes);

/// While it lives, keys come as they are pressed, unseen.
class KeyByKey {
public:
  KeyByKey();
  ~KeyByKey();
  KeyByKey(const KeyByKey&) = delete;
  KeyByKey& operator=(const KeyByKey&) = delete;

private:
  std::shared_ptr<void> m_before; ///< of the system; null when the input is no terminal
};

/// Whether an operation is at work, and whether a Ctrl-C then says at once that what was done is taken back.
void SetWorking(bool working);
void SetSaysWhatItDoes(bool says);
[[nodiscard]] bool WasInterrupted();
/// The engine (borrowed; null: none) that Ctrl-C asks to end its operation.
void SetInterruptible(CKestExtensionManager* engine);
[[nodiscard]] CKestExtensionManager* GetInterruptible();

} // namespace kest::host::console
