#pragma once

#include "desktop/facts.h"

#include "kest/kest.h"

namespace kest::desktop {

/// A text of the engine as it stands.
[[nodiscard]] QString Shown(const CString& text);
/// A text of a description, which is markup, as the words alone.
[[nodiscard]] QString Plain(const CString& text);

// Values of the engine's records, read in its thread.
[[nodiscard]] ExtensionFacts FactsOf(const CKestExtensionManager& manager, const CKestExtension& extension);
/// Sets the places of the rows when sorted, so that the window's thread compares numbers alone.
void RankRows(QList<ExtensionFacts>& rows);
[[nodiscard]] ResultFacts FactsOf(const OperationReport& report);
[[nodiscard]] HistoryFacts FactsOf(const HistoryEntry& entry);
[[nodiscard]] RemovalFacts FactsOf(const UninstallPreview& preview);
[[nodiscard]] QList<PreviewLine> FactsOf(const Preview& preview);
/// Every change of a description, in words.
[[nodiscard]] QStringList ChangesOf(const CKestExtension& extension);
/// What is not as the install left it.
void AddProblems(const VerifyReport& report, DetailFacts& details);
/// A sentence for each interrupted operation.
[[nodiscard]] QStringList SentencesOf(const RecoveryReport& report);

} // namespace kest::desktop
