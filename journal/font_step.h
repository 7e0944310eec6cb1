#pragma once

#include "journal/install_step.h"
#include "journal/record_judge.h"

#include <memory>

namespace kest {

/// Puts a font in place and registers it.
/// Do:      places a copy of the source, adds the font resource and tells all windows; nothing when the font is there.
/// Keeps:   whether the font was there, and which values of the user's font list named it before.
/// Undo:    for a font that Do placed: removes the resource, the other values that name it, and the file; tells all
/// windows. Release: nothing.
class KEST_API CInstallAddFontResource : public CKestExtensionInstallStep {
public:
  CInstallAddFontResource(CString source, CString destination);

  int Prepare() override;
  int Do() override;
  int Undo() override;
  bool Describe(StepRecord& record) const override;
  void CollectTouched(CKestTypedList<CKestString>& paths) const override;
  void CollectEffects(std::vector<StepEffect>& effects) const override;
  void CollectRegistryValues(std::vector<CString>& values) const override;
  [[nodiscard]] CString GetTarget() const override { return m_destination; }
  [[nodiscard]] bool IsUndoOpen() const override { return m_prepared && !m_existed; }

  static constexpr const char* kKind = "font";
  [[nodiscard]] static std::unique_ptr<CKestExtensionInstallStep> FromRecord(const StepRecord& record,
                                                                             const RecordJudge& judge);

private:
  CInstallAddFontResource() = default;
  [[nodiscard]] std::vector<CString> FindOwnEntries() const;
  [[nodiscard]] bool RemoveListEntries() const;

  CString m_source;
  CString m_destination;
  CString m_stage;                   ///< the font until it is placed
  std::vector<CString> m_valuesThen; ///< values of the font list that named the destination before
  bool m_prepared = false;
  bool m_existed = false;
};

} // namespace kest
