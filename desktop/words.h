#pragma once

#include "desktop/facts.h"

#include <QString>

/// Sentences for people: what was done, why not, what to do next.
namespace kest::desktop::words {

/// One or two sentences of what became of an operation.
[[nodiscard]] QString OfResult(const ResultFacts& result);
/// What to do next, restarts among it; empty when nothing is to be done.
[[nodiscard]] QString NextAfter(const ResultFacts& result);
/// All the rest, to be shown on demand and copied; empty when there is none.
[[nodiscard]] QString DetailsOf(const ResultFacts& result);
/// Why an operation failed, one sentence part.
[[nodiscard]] QString ReasonOf(const ResultFacts& result);
/// What an operation of the history is called.
[[nodiscard]] QString OfOperation(const QString& engineWord);

} // namespace kest::desktop::words
