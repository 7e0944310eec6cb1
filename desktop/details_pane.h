#pragma once

#include "desktop/facts.h"

#include <QTextBrowser>

namespace kest::desktop {

/// What is known of the selected extension, as rich text. Nothing in it runs or is fetched; a link is opened by the
/// system after a click.
class DetailsPane : public QTextBrowser {
  Q_OBJECT

public:
  explicit DetailsPane(QWidget* parent = nullptr);
  void Show(const ExtensionFacts& extension, const DetailFacts& details);
  /// A text of the window's own, when no extension is selected.
  void ShowHint(const QString& html);

protected:
  QVariant loadResource(int type, const QUrl& name) override;
};

} // namespace kest::desktop
