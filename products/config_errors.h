#pragma once

#include "config/config_change.h"
#include "config/help_change.h"
#include "platform/messages/messages.h"

#include <vector>

namespace kest {

/// What the user is told about an error code.
struct ConfigErrorMessage {
  Message message = Message::kConfigurationFailed;
  std::vector<text::Argument> arguments;
  CString text; ///< formatted; may join two messages
};

[[nodiscard]] ConfigErrorMessage GetConfigErrorMessage(CKestConfigChange::ErrorCode code);
[[nodiscard]] ConfigErrorMessage GetHelpErrorMessage(CKestHelpChange::ErrorCode code);

/// Adds a line to the text unless the text contains it already.
void AddErrorLine(CString& errorText, const CString& line);

/// What all of it comes to, to be shown once.
struct ConfigOutcome {
  Message number;
  std::vector<text::Argument> arguments;
  CString text;
};
/// `header`: the closing sentence, may be empty; `first`: the first error; `errorCount`: all of them.
[[nodiscard]] ConfigOutcome JoinConfigErrors(const CString& errorText, const CString& header,
                                             const ConfigErrorMessage& first, int errorCount);

} // namespace kest
