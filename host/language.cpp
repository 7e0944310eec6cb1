#include "host/language.h"

#include "host/terminal/terminal.h"
#include "host/terminal/text_width.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

namespace kest::host {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kMostBytes = 1u << 20;
constexpr std::size_t kMostWarnings = 5;

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

// "de_AT" of "de_AT.UTF-8"; empty for English, and for what is no name of a language.
std::string LanguageOf(std::string locale) {
  locale.resize(std::min(locale.find_first_of(".@:"), locale.size()));
  const bool isName = std::all_of(locale.begin(), locale.end(), [](unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
  });
  const bool isEnglish = locale == "C" || locale == "POSIX" || locale == "en" || locale.starts_with("en_");
  return isName && !isEnglish ? locale : "";
}

std::vector<fs::path> Folders() {
  if (const std::string named = Environment("KEST_MESSAGES"); !named.empty()) {
    return {named};
  }
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error).parent_path();
  if (error) {
    return {};
  }
  return {program / "../share/kest/messages", program / "messages"};
}

// The most exact one that is there: of "de_AT" that file, else the one of "de".
fs::path FindFile(const std::string& language) {
  const std::string general = language.substr(0, language.find_first_of("_-"));
  for (const fs::path& folder : Folders()) {
    for (const std::string& name : {language, general}) {
      const fs::path file = folder / (name + ".txt");
      std::error_code error;
      if (fs::is_regular_file(file, error) && fs::file_size(file, error) <= kMostBytes) {
        return file.lexically_normal();
      }
    }
  }
  return {};
}

} // namespace

std::unique_ptr<MessageFile> LoadLanguage(Terminal& terminal) {
  const std::string asked = Environment("KEST_LANGUAGE");
  std::string locale = asked;
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    locale = locale.empty() ? Environment(variable) : locale;
  }
  const std::string language = LanguageOf(locale);
  const auto warn = [&](const std::string& text) {
    terminal.Notice(terminal.Paint(Style::kWarning, "warning:") + " " + text);
  };
  if (language.empty()) {
    return nullptr;
  }
  const fs::path file = FindFile(language);
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    if (!asked.empty()) {
      warn(fmt::format("there are no messages in the language \"{}\"; they stay English", language));
    }
    return nullptr;
  }
  std::ostringstream content;
  content << stream.rdbuf();
  auto messages = std::make_unique<MessageFile>();
  messages->SetText(content.str());
  const auto& problems = messages->GetProblems();
  const std::string name = ForTerminal(file.string());
  for (std::size_t i = 0; i < problems.size() && i < kMostWarnings; ++i) {
    warn(fmt::format("{}:{}: {}; that message stays English", name, problems[i].line, Shown(problems[i].reason)));
  }
  if (problems.size() > kMostWarnings) {
    warn(fmt::format("{}: {} more lines are wrong", name, problems.size() - kMostWarnings));
  }
  return messages;
}

} // namespace kest::host
