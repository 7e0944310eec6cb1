#pragma once

namespace kest {
struct OperationReport;
}

namespace kest::host {

class Session;

/// At the end of an operation of a dry run: what it would have done, on the standard output, or into the document. The
/// exit code that the operation would have, which is `exit` unless a question would have been left without an answer,
/// or the user has no right to change the machine.
[[nodiscard]] int ShowPreview(Session& session, const OperationReport& report, int exit);

} // namespace kest::host
