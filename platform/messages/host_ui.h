#pragma once

#include "platform/messages/extension_manager_ui.h"
#include "platform/messages/messages.h"

#include <vector>

namespace kest {

/// The one way by which the engine speaks to its host: knows the null rule, the numbers, their arguments and what the
/// buttons mean. Holds the callback object by pointer, borrowed.
class KEST_API HostUi {
public:
  explicit HostUi(CKestExtensionManagerUI* ui) : m_ui(ui) {}
  [[nodiscard]] bool IsThere() const { return m_ui != nullptr; }
  [[nodiscard]] CKestExtensionManagerUI* Get() const { return m_ui; }

  /// Shows a notice.
  void Notice(Message number, const std::vector<text::Argument>& arguments = {}) const;
  /// Shows a notice that ends with another text after one blank.
  void NoticeWith(Message number, const std::vector<text::Argument>& arguments, Message closing) const;
  /// Shows a notice whose text was joined by the caller; `number` tells the host what it is about.
  void NoticeText(Message number, const CString& text, const std::vector<text::Argument>& arguments = {}) const;
  /// Asks; the button pressed, or -1 without a host.
  [[nodiscard]] int Ask(Message number, const std::vector<text::Argument>& arguments, MessageStyle style) const;
  [[nodiscard]] int AskText(Message number, const std::vector<text::Argument>& arguments, const CString& text,
                            MessageStyle style) const;
  /// False without a host. The prompt was built by the caller from `number` and `arguments`.
  [[nodiscard]] bool ConfirmAgreement(Message number, const CString& prompt, const CString& agreement,
                                      const std::vector<text::Argument>& arguments = {}) const;
  /// False, `folder` untouched, when the user gives up and without a host.
  [[nodiscard]] bool ChooseFolder(const CString& tokenPrompt, const CString& initialFolder, CString& folder) const;
  void BeginWait() const;
  void EndWait() const;
  void BeginProgress(Message caption) const;
  void SetProgressRange(int upper) const;
  void SetProgressPosition(int position) const;
  void EndProgress() const;

private:
  void Announce(Message number, const std::vector<text::Argument>& arguments) const;
  CKestExtensionManagerUI* m_ui;
};

/// The agreement: 4045 to 4065 in order, every LF then replaced by CR LF.
[[nodiscard]] KEST_API CString BuildLegalAgreement();

} // namespace kest
