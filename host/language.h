#pragma once

#include "platform/messages/message_file.h"

#include <memory>

namespace kest::host {

class Terminal;

/// The engine's texts in the user's language (KEST_LANGUAGE, else LC_ALL, LC_MESSAGES or LANG), from <language>.txt in
/// the folder KEST_MESSAGES, else share/kest/messages beside the program's folder, else messages in it. Null: English.
/// What is wrong with the file is said as a warning.
[[nodiscard]] std::unique_ptr<MessageFile> LoadLanguage(Terminal& terminal);

} // namespace kest::host
