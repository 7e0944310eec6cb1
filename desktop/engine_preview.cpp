// What would be done, and what is wrong with a file: both only look.
#include "desktop/engine_room.h"

#include "desktop/engine_facts.h"
#include "platform/machine/file.h"

#include <QFileInfo>

#include <utility>

namespace kest::desktop {
namespace {

// Answers so that the engine goes on, and remembers what it asked.
class LookingUi : public CKestExtensionManagerUI {
public:
  int ShowMessage(const char* text, int style) override {
    if (style != kNotice) {
      m_questions += Shown(text);
    }
    return style == kNotice ? kOk : style == kRetryCancel ? kCancel : style == kOverwrite ? kAll : kYes;
  }
  bool ConfirmAgreement(const char*, const char* agreement) override {
    m_agreement = Shown(agreement);
    return true;
  }
  bool ChooseFolder(const CString& prompt, const CString& initialFolder, int, CString& folder) override {
    m_questions += Shown(prompt);
    folder = initialFolder.empty() ? CString("C:\\") : initialFolder;
    return true;
  }
  void BeginWait() override {}
  void EndWait() override {}
  void BeginProgress(const char*, const char*, int) override {}
  void SetProgressRange(int) override {}
  void SetProgressPosition(int) override {}
  void EndProgress() override {}

  QStringList m_questions;
  QString m_agreement;
};

constexpr std::uint64_t kLongestDescription = 64ull << 20;

QString ReadHere(const CString& path, CString& content) {
  return CKestFile::ReadAll(path, content, kLongestDescription) ? QString()
                                                                : Shown(CKestOS::GetMachine().GetLastError().reason);
}

// The description of a package or beside its files; why not, in words.
QString ReadDescription(const CString& path, bool isPackage, CString& content, CString& name) {
  if (!isPackage) {
    name = CKestPath(path).GetFileName();
    return ReadHere(path, content);
  }
  CKestPackage package(path.c_str());
  std::vector<CString> names;
  if (package.Check() != CKestPackage::kGood || package.UnPackFileNames(names) != CKestPackage::kGood) {
    return Shown(package.GetProblem());
  }
  for (const CString& one : names) {
    if (text::EqualNoCase(CKestPath(one).GetExtension(), "kei")) {
      name = CKestPath(one).GetFileName();
      return package.UnPackToMemory(one, kLongestDescription, content) == CKestPackage::kGood
                 ? QString()
                 : Shown(package.GetProblem());
    }
  }
  return EngineRoom::tr("There is no description (.kei) in it.");
}

} // namespace

void EngineRoom::PreviewInstall(const QString& file, const QString& product) {
  Post([=, this] {
    PreviewFacts preview;
    preview.file = file;
    if (!m_manager) {
      preview.result.failure = static_cast<int>(OperationReport::Failure::kNotFound);
      emit InstallPreviewed(preview);
      return;
    }
    OverlayMachine overlay(*m_machine);
    CKestOS::SetMachine(&overlay);
    {
      LookingUi ui;
      CKestExtensionManager manager(&ui);
      manager.Init();
      manager.Load();
      InstallOptions options;
      options.product = FindProduct(manager, product);
      static_cast<void>(manager.Install(ReachFile(file, false), options)); // the report has it all
      const OperationReport& report = manager.GetLastReport();
      preview.result = FactsOf(report);
      preview.version = Shown(report.version);
      preview.author = Plain(report.author);
      preview.agreement = ui.m_agreement;
      for (const QString& question : std::as_const(ui.m_questions)) {
        preview.lines += PreviewLine{PreviewLine::Group::kWarnings, tr("you will be asked"), question, {}};
      }
      preview.lines += FactsOf(PreviewMaker(overlay).Make(report));
      if (overlay.IsForeign()) {
        preview.result.failure = static_cast<int>(OperationReport::Failure::kNoPermission);
      }
    }
    CKestOS::SetMachine(m_machine.get());
    emit InstallPreviewed(preview);
  });
}

void EngineRoom::Check(const QString& file, const QString& product) {
  Post([=, this] {
    CheckFacts facts;
    facts.file = file;
    CString content;
    CString name;
    const bool isPackage = file.endsWith(QStringLiteral(".kep"), Qt::CaseInsensitive);
    const CString path = m_manager ? ReachFile(file, false) : CString();
    facts.trouble = path.empty() ? tr("The file is not there.") : ReadDescription(path, isPackage, content, name);
    if (facts.trouble.isEmpty()) {
      CKestExtension record;
      int code = 0;
      ValidationSubject subject;
      subject.description = content;
      subject.product = FindProduct(*m_manager, product);
      subject.manager = subject.product != nullptr ? m_manager.get() : nullptr;
      subject.fileName = name;
      if (!isPackage) {
        subject.hasFile = [folder = CKestPath(path).GetFolder()](const CString& source) {
          CString tail = source;
          CKestPath::LocalizePathSeparators(tail);
          CKestPath whole(folder);
          whole.Append(tail);
          return CKestOS::FileExists(whole);
        };
      }
      for (const ValidationFinding& finding : ValidateDescription(subject, record, code)) {
        const QString text =
            finding.line == 0 ? Shown(finding.text) : tr("line %1: %2").arg(finding.line).arg(Shown(finding.text));
        (finding.severity == ValidationFinding::Severity::kError ? facts.errors : facts.warnings) += text;
      }
    }
    emit Checked(facts);
  });
}

} // namespace kest::desktop
