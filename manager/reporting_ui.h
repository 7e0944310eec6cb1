#pragma once

#include "platform/messages/extension_manager_ui.h"

namespace kest {

/// Passes everything on to the host and remembers the last message, so that a failure which a product has told the user
/// about can be named in the report.
class ReportingUi : public CKestExtensionManagerUI {
public:
  explicit ReportingUi(CKestExtensionManagerUI& host) : m_host(host) {}
  [[nodiscard]] int GetNumber() const { return m_number; }
  [[nodiscard]] const CString& GetText() const { return m_text; }

  int ShowMessage(const char* text, int style) override {
    m_text = text != nullptr ? text : "";
    return m_host.ShowMessage(text, style);
  }
  bool ConfirmAgreement(const char* prompt, const char* agreement) override {
    return m_host.ConfirmAgreement(prompt, agreement);
  }
  bool ChooseFolder(const CString& prompt, const CString& initialFolder, int flag, CString& folder) override {
    return m_host.ChooseFolder(prompt, initialFolder, flag, folder);
  }
  void BeginWait() override { m_host.BeginWait(); }
  void EndWait() override { m_host.EndWait(); }
  void BeginProgress(const char* caption, const char* detail, int flag) override {
    m_host.BeginProgress(caption, detail, flag);
  }
  void SetProgressRange(int upper) override { m_host.SetProgressRange(upper); }
  void SetProgressPosition(int position) override { m_host.SetProgressPosition(position); }
  void EndProgress() override { m_host.EndProgress(); }
  void OnMessage(int number, const CString* arguments, int count) override {
    m_number = number;
    m_host.OnMessage(number, arguments, count);
  }

private:
  CKestExtensionManagerUI& m_host;
  int m_number = 0;
  CString m_text;
};

} // namespace kest
