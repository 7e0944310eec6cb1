#pragma once

#include "host/exit_code.h"
#include "host/json_output.h"

#include "platform/text/text.h"

#include <functional>
#include <string>
#include <vector>

namespace kest {
struct OperationReport;
}

namespace kest::host {

class Session;
struct ErrorReport;

/// kest.result/1 of an operation that has just run.
[[nodiscard]] Json ResultJson(Session& session, const char* operation, const OperationReport& report, ExitCode exit);
/// Notices that belong to a success: what was kept, what the engine had to say, what is to be restarted, and with
/// --verbose every file touched.
void SayWhatHappened(Session& session, const OperationReport& report);
/// Why a shared file stays, for which extension if that is known.
[[nodiscard]] std::string SharedWith(const CString& holder);
/// What went from the trash with the operation.
void SayTrashDropped(Session& session, const OperationReport& report);
/// "restart" of the JSON: none, product or machine.
[[nodiscard]] const char* RestartWord(const OperationReport& report);

/// Runs `one` for each word, in order; each leaves its own document in session.document. Several become one document
/// with a list; their exit code is 10 when some failed. An interrupt ends the run.
[[nodiscard]] int RunEach(Session& session, const std::vector<std::string>& words,
                          const std::function<int(const std::string&)>& one);

} // namespace kest::host
