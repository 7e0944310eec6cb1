#pragma once

#include "platform/text/text.h"

namespace kest {

/// How ShowMessage is to offer its buttons.
enum MessageStyle : int { kNotice = 0, kYesNo = 4, kRetryCancel = 5, kOverwrite = 8 };

/// What a user pressed. For kOverwrite: kNo keeps the existing file, kCancel stops, kAll overwrites this and the rest.
enum Button : int { kOk = 1, kCancel = 2, kRetry = 4, kYes = 6, kNo = 7, kAll = 10 };

/// The host's callback object. The engine calls it on the host's thread and never owns it. Texts are bytes in the
/// machine's code page. A host that answers every question with a fixed button satisfies the engine.
class KEST_API CKestExtensionManagerUI {
public:
  virtual ~CKestExtensionManagerUI() = default;

  /// Shows a text; returns the button pressed (Button). The result of a notice is ignored.
  virtual int ShowMessage(const char* text, int style) = 0;
  /// True when the user accepts.
  virtual bool ConfirmAgreement(const char* prompt, const char* agreement) = 0;
  /// True with `folder` set, or false when the user gives up. `flag` is always 1.
  virtual bool ChooseFolder(const CString& prompt, const CString& initialFolder, int flag, CString& folder) = 0;
  /// Busy indicator; the two need not be balanced.
  virtual void BeginWait() = 0;
  virtual void EndWait() = 0; ///< ends what BeginWait began
  /// Opens the progress display. Both texts are borrowed during the call; `detail` may be empty, `flag` means nothing.
  virtual void BeginProgress(const char* caption, const char* detail, int flag) = 0;
  virtual void SetProgressRange(int upper) = 0;       ///< the position at which the work is done
  virtual void SetProgressPosition(int position) = 0; ///< from 0 to the range
  /// Closes the display; harmless without one.
  virtual void EndProgress() = 0;

  /// Beside the text, what a host needs that answers by number: called directly before ShowMessage, ConfirmAgreement
  /// and ChooseFolder with the message number (the first of a joined text) and its arguments. The default ignores it.
  virtual void OnMessage(int number, const CString* arguments, int count) {
    (void)number;
    (void)arguments;
    (void)count;
  }
};

} // namespace kest
