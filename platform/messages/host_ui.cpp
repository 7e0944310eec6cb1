#include "platform/messages/host_ui.h"

namespace kest {

namespace {

constexpr int kNoHost = -1;
constexpr int kFolderFlag = 1;

CString Built(Message number, const std::vector<text::Argument>& arguments) {
  return text::Format(LoadMessage(number), std::span<const text::Argument>(arguments));
}

} // namespace

void HostUi::Announce(Message number, const std::vector<text::Argument>& arguments) const {
  std::vector<CString> texts;
  texts.reserve(arguments.size());
  for (const text::Argument& argument : arguments) {
    const auto* string = std::get_if<CString>(&argument);
    texts.push_back(string != nullptr ? *string : std::to_string(std::get<long long>(argument)));
  }
  m_ui->OnMessage(static_cast<int>(number), texts.data(), static_cast<int>(texts.size()));
}

void HostUi::Notice(Message number, const std::vector<text::Argument>& arguments) const {
  NoticeText(number, Built(number, arguments), arguments);
}

void HostUi::NoticeWith(Message number, const std::vector<text::Argument>& arguments, Message closing) const {
  NoticeText(number, Built(number, arguments) + " " + LoadMessage(closing), arguments);
}

void HostUi::NoticeText(Message number, const CString& text, const std::vector<text::Argument>& arguments) const {
  static_cast<void>(AskText(number, arguments, text, kNotice));
}

int HostUi::Ask(Message number, const std::vector<text::Argument>& arguments, MessageStyle style) const {
  return AskText(number, arguments, Built(number, arguments), style);
}

int HostUi::AskText(Message number, const std::vector<text::Argument>& arguments, const CString& text,
                    MessageStyle style) const {
  if (m_ui == nullptr) {
    return kNoHost;
  }
  Announce(number, arguments);
  return m_ui->ShowMessage(text.c_str(), style);
}

bool HostUi::ConfirmAgreement(Message number, const CString& prompt, const CString& agreement,
                              const std::vector<text::Argument>& arguments) const {
  if (m_ui == nullptr) {
    return false;
  }
  Announce(number, arguments);
  return m_ui->ConfirmAgreement(prompt.c_str(), agreement.c_str());
}

bool HostUi::ChooseFolder(const CString& tokenPrompt, const CString& initialFolder, CString& folder) const {
  if (m_ui == nullptr) {
    return false;
  }
  const std::vector<text::Argument> arguments = {tokenPrompt};
  Announce(Message::kChooseFolder, arguments);
  CString chosen;
  if (!m_ui->ChooseFolder(Built(Message::kChooseFolder, arguments), initialFolder, kFolderFlag, chosen)) {
    return false;
  }
  folder = std::move(chosen);
  return true;
}

void HostUi::BeginWait() const {
  if (m_ui != nullptr) {
    m_ui->BeginWait();
  }
}

void HostUi::EndWait() const {
  if (m_ui != nullptr) {
    m_ui->EndWait();
  }
}

void HostUi::BeginProgress(Message caption) const {
  if (m_ui != nullptr) {
    m_ui->BeginProgress(LoadMessage(caption).c_str(), "", 0);
  }
}

void HostUi::SetProgressRange(int upper) const {
  if (m_ui != nullptr) {
    m_ui->SetProgressRange(upper);
  }
}

void HostUi::SetProgressPosition(int position) const {
  if (m_ui != nullptr) {
    m_ui->SetProgressPosition(position);
  }
}

void HostUi::EndProgress() const {
  if (m_ui != nullptr) {
    m_ui->EndProgress();
  }
}

CString BuildLegalAgreement() {
  CString agreement;
  for (int number = static_cast<int>(Message::kAgreementFirst); number <= static_cast<int>(Message::kAgreementLast);
       ++number) {
    agreement += LoadMessage(static_cast<Message>(number));
  }
  text::ReplaceAll(agreement, "\n", "\r\n");
  return agreement;
}

} // namespace kest
