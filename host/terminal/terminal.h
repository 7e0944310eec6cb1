#pragma once

#include "host/terminal/typed_paths.h"

#include <chrono>
#include <string>
#include <string_view>

namespace kest {
class CKestExtensionManager;
}

namespace kest::host {

struct Options;

enum class Style { kPlain, kError, kWarning, kStrong, kFaint, kAdded, kRemoved, kPlace };

/// The terminal, or what stands in its place: data goes to the standard output, everything else to the standard error;
/// the standard input is read only where CanAsk says so.
class Terminal {
public:
  Terminal();
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  /// Takes over --color, --progress, --quiet, --no-input and --log. False when the log cannot be opened.
  [[nodiscard]] bool Configure(const Options& options);

  /// Whether a question can be put: input and error output are a terminal and --no-input was not given.
  [[nodiscard]] bool CanAsk() const { return m_canAsk; }
  /// Columns that a table may take; 0 when it must never be cut.
  [[nodiscard]] int GetTableWidth() const;
  /// Columns and lines of the terminal on which questions are asked.
  [[nodiscard]] int GetWidth() const;
  [[nodiscard]] int GetHeight() const;

  /// Folders that lines for the user name as they were typed.
  [[nodiscard]] TypedPaths& GetTypedPaths() { return m_typedPaths; }

  /// Data. Kept until Flush or the next line for the user, so that nothing is written in pieces; but not without end.
  void Data(std::string_view text);
  /// False when it could not be written.
  bool Flush();
  /// Why data could not be written, an errno; 0: all was. A reader that went away counts as having had enough.
  [[nodiscard]] int GetDataError() const { return m_dataError; }
  /// A line for the user that --quiet leaves out.
  void Notice(std::string_view line);
  /// Whether anybody sees notices, on the terminal or in a log.
  [[nodiscard]] bool ShowsNotices() const { return !m_quiet || m_log >= 0; }
  /// A line that nothing leaves out: errors, and what belongs to a question.
  void Say(std::string_view line);
  /// The text in a style where the standard error (or, for data, the standard output) shows colours.
  [[nodiscard]] std::string Paint(Style style, std::string_view text) const;
  [[nodiscard]] std::string PaintData(Style style, std::string_view text) const;
  /// Into the log alone.
  void Log(std::string_view line);

  enum class Answer { kLine, kEnd, kInterrupted };
  /// Shows the prompt and reads one line, without its end. Call only where CanAsk.
  Answer Ask(std::string_view prompt, std::string& line);
  /// The same for one key, which needs no Return.
  Answer AskKey(std::string_view prompt, char& key);
  /// From now on there is something to take back, and Ctrl-C says that this is being done.
  static void SetWorking(bool working);
  /// Whether Ctrl-C was pressed since the start.
  [[nodiscard]] static bool WasInterrupted();
  /// The engine (borrowed; null: none) that Ctrl-C asks to end its operation.
  static void SetInterruptible(CKestExtensionManager* engine);
  /// Asks it again when Ctrl-C was pressed: an operation forgets what was asked before it started.
  static void PassOnInterrupt();

  [[nodiscard]] bool ShowsProgress() const { return m_progress; }
  void DrawProgress(std::string_view caption, int position, int range);
  void ClearProgress();

private:
  Answer ReadMore();
  void WriteError(std::string_view text);

  TypedPaths m_typedPaths;
  std::string m_data;
  std::string m_typed; ///< bytes read behind the last line
  int m_log = -1;
  int m_dataError = 0;
  bool m_canAsk = false;
  bool m_quiet = false;
  bool m_progress = false;
  bool m_colorError = false;
  bool m_colorData = false;
  bool m_outIsTerminal = false;
  std::chrono::steady_clock::time_point m_drawnAt;
  std::string m_drawn; ///< the progress line that stands on the terminal now
};

} // namespace kest::host
