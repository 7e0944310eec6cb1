// A host that answers from a script, for machines that nobody sits at. It goes by the numbers of the questions, so it
// works whatever language the texts are in. Each line of the script is a message number and an answer:
//   4016 yes          accept the agreement            4019 no          do not replace a newer version
//   4040 all          overwrite older files           4127 C:\Shelf    the folder of a token
// Answers: yes no ok cancel retry all, or a folder. A question without a line is cancelled, and named at the end.
// Usage: scripted_install MACHINE PACKAGE SCRIPT
#include "kest/kest.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>

namespace {

class ScriptedHost : public kest::CKestExtensionManagerUI {
public:
  explicit ScriptedHost(std::istream& script) {
    for (int number = 0; script >> number;) {
      std::getline(script >> std::ws, m_answers[number]);
    }
  }
  /// The first question that the script has no answer to; 0 when there was none.
  [[nodiscard]] int GetUnanswered() const { return m_unanswered; }

  void OnMessage(int number, const kest::CString*, int) override { m_number = number; }
  int ShowMessage(const char* text, int style) override {
    std::cout << m_number << ": " << text << '\n';
    if (style == kest::kNotice) {
      return kest::kOk;
    }
    static const std::map<std::string, int> buttons = {{"yes", kest::kYes},     {"no", kest::kNo},
                                                       {"ok", kest::kOk},       {"cancel", kest::kCancel},
                                                       {"retry", kest::kRetry}, {"all", kest::kAll}};
    const auto button = buttons.find(Answer());
    return button == buttons.end() ? kest::kCancel : button->second;
  }
  bool ConfirmAgreement(const char*, const char*) override { return Answer() == "yes"; }
  bool ChooseFolder(const kest::CString&, const kest::CString&, int, kest::CString& folder) override {
    const std::string answer = Answer();
    if (answer.empty() || answer == "cancel") {
      return false;
    }
    folder = answer;
    return true;
  }
  void BeginWait() override {}
  void EndWait() override {}
  void BeginProgress(const char*, const char*, int) override {}
  void SetProgressRange(int) override {}
  void SetProgressPosition(int) override {}
  void EndProgress() override {}

private:
  std::string Answer() {
    const auto answer = m_answers.find(m_number);
    if (answer != m_answers.end()) {
      return answer->second;
    }
    m_unanswered = m_unanswered == 0 ? m_number : m_unanswered;
    return "";
  }

  std::map<int, std::string> m_answers;
  int m_number = 0;
  int m_unanswered = 0;
};

int Install(kest::MachineFolder& machine, const std::filesystem::path& package, ScriptedHost& host) {
  kest::CKestExtensionManager manager(&host);
  manager.Init();
  manager.Load();
  kest::CKestPath path(machine.AddHostFolder(std::filesystem::absolute(package).parent_path().string(), false));
  path.Append(package.filename().string());
  kest::InstallOptions options;
  options.showProgress = false;
  if (const kest::InstallResult result = manager.Install(path, options)) {
    std::cout << "installed \"" << kest::text::ToUtf8(result.extension->GetName()) << "\" in "
              << kest::text::ToUtf8(result.product->GetName()) << '\n';
    return 0;
  }
  for (const kest::OperationReport::Problem& problem : manager.GetLastReport().problems) {
    std::cerr << problem.path << ": " << problem.reason << '\n';
  }
  if (host.GetUnanswered() != 0) {
    std::cerr << "the script has no answer to question " << host.GetUnanswered() << '\n';
    return 3;
  }
  return 1;
}

} // namespace

int main(int argc, char** argv) {
  std::ifstream script(argc == 4 ? argv[3] : "");
  if (argc != 4 || !script) {
    std::cerr << "usage: scripted_install MACHINE PACKAGE SCRIPT\n";
    return 2;
  }
  ScriptedHost host(script);
  kest::MachineFolder machine(argv[1]);
  kest::CKestOS::SetMachine(&machine);
  const int status = machine.IsUsable() ? Install(machine, argv[2], host) : 1;
  kest::CKestOS::SetMachine(nullptr);
  return status;
}
