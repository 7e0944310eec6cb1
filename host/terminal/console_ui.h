#pragma once

#include "platform/messages/extension_manager_ui.h"
#include "platform/package/package.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kest::host {

struct Options;
class Terminal;

/// One text that the engine showed.
struct ShownMessage {
  int number = 0;
  int style = 0;
  std::string text;   ///< UTF-8
  std::string answer; ///< the button pressed, in a word; empty for a notice
};

/// A question that a dry run did not put.
struct OpenQuestion {
  std::string text;
  std::string flag;        ///< what answers it
  bool isAnswered = false; ///< the flag was given
  std::string taken;       ///< the answer that the rest of the dry run is about
};

/// What became of the questions of one operation.
struct Outcome {
  bool declined = false;    ///< the user said no or cancelled
  bool interrupted = false; ///< by Ctrl-C
  bool inUse = false;       ///< a file stayed in use for the time given by --wait
  bool equal = false;       ///< the same version is there already and is not wanted again
  std::string notThere;     ///< what the machine lacks for the folder of a token, as a sentence; empty: nothing
  std::string missingFlag;  ///< the flag that would have answered a question that could not be put
  std::string question;     ///< what that question was about
  std::vector<ShownMessage> messages;
  std::vector<OpenQuestion> open; ///< of a dry run
  [[nodiscard]] bool Stopped() const {
    return declined || interrupted || inUse || equal || !missingFlag.empty() || !notThere.empty();
  }
};

/// The engine's callback object: tells by the number of a message which flag answers it, asks where a terminal allows
/// it, and cancels where neither does.
class ConsoleUi : public CKestExtensionManagerUI {
public:
  ConsoleUi(Terminal& terminal, const Options& options);

  /// Starts an operation: earlier outcomes are forgotten.
  void Begin();
  /// Starts an operation on several extensions, one a step of the progress: what the user says of one does not stop the
  /// others.
  void BeginSeveral();
  /// As it is now: Ctrl-C counts whenever it comes.
  [[nodiscard]] const Outcome& GetOutcome();

  struct Token {
    std::string name;
    std::string chosen;      ///< Windows path from --set; empty when not given
    bool mustAnswer = false; ///< what the extension proposes is never taken unasked
  };
  /// Folder tokens of the extension to come, by their prompts.
  void SetTokens(std::map<std::string, Token> tokens) { m_tokens = std::move(tokens); }
  /// Entries of the package to come, for the dates in the question about existing files.
  void SetEntries(std::vector<PackageEntry> entries) { m_entries = std::move(entries); }
  /// Turns what a user typed into a Windows path; empty when it names no folder of the machine. `complain` says what is
  /// wrong with the drive of a path, or nothing.
  void SetFolderReader(std::function<std::string(const std::string&)> reader,
                       std::function<std::string(const std::string&)> complain) {
    m_readFolder = std::move(reader);
    m_complain = std::move(complain);
  }

  /// A question of the host's own, [y/N] or [Y/n]. `flag` answers it without a terminal.
  [[nodiscard]] bool Confirm(const std::string& question, bool byDefault, bool answered, const char* flag);

  int ShowMessage(const char* text, int style) override;
  bool ConfirmAgreement(const char* prompt, const char* agreement) override;
  bool ChooseFolder(const CString& prompt, const CString& initialFolder, int flag, CString& folder) override;
  void BeginWait() override;
  void EndWait() override {}
  void BeginProgress(const char* caption, const char* detail, int flag) override;
  void SetProgressRange(int upper) override;
  void SetProgressPosition(int position) override;
  void EndProgress() override;
  void OnMessage(int number, const CString* arguments, int count) override;

private:
  struct Choice {
    const char* word;
    int button;
  };
  int AnswerYesNo(int number, const std::string& text);
  int AnswerOverwrite(int number, const std::string& text);
  int AnswerInUse(const std::string& text);
  std::optional<int> Pick(const std::string& prompt, const std::vector<Choice>& choices, int byDefault);
  bool ShowPages(const std::string& text);
  void Miss(const char* flag, const std::string& question);
  /// In a dry run: notes the question, once for each text. False in any other.
  bool Leave(const char* flag, const std::string& question, bool isAnswered, const char* taken);
  [[nodiscard]] std::string DescribeExisting(int number) const;

  Terminal& m_terminal;
  const Options& m_options;
  Outcome m_outcome;
  int m_number = 0;
  std::vector<std::string> m_arguments; ///< of the message to come; bytes as the engine has them
  std::map<std::string, Token> m_tokens;
  std::vector<PackageEntry> m_entries;
  std::function<std::string(const std::string&)> m_readFolder;
  std::function<std::string(const std::string&)> m_complain;
  std::int64_t m_deadline = -1; ///< of the wait for files in use
  bool m_several = false;       ///< see BeginSeveral
  std::string m_caption;
  int m_range = 0;
};

} // namespace kest::host
