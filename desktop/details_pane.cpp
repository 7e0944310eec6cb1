#include "desktop/details_pane.h"

#include <QDesktopServices>
#include <QScrollBar>
#include <QUrl>

namespace kest::desktop {
namespace {

constexpr qsizetype kMostListed = 500;

QString List(const QString& head, const QStringList& lines) {
  if (lines.isEmpty()) {
    return {};
  }
  QString html = QStringLiteral("<h4>%1</h4><ul>").arg(head.toHtmlEscaped());
  for (const QString& line : lines.first(qMin(lines.size(), kMostListed))) {
    html += QStringLiteral("<li>%1</li>").arg(line.toHtmlEscaped());
  }
  if (lines.size() > kMostListed) {
    html += QStringLiteral("<li>…</li>");
  }
  return html + QStringLiteral("</ul>");
}

} // namespace

DetailsPane::DetailsPane(QWidget* parent) : QTextBrowser(parent) {
  setOpenLinks(false);
  setObjectName("details");
  setAccessibleName(tr("About the selected extension"));
  connect(this, &QTextBrowser::anchorClicked, this, [](const QUrl& url) {
    const QString scheme = url.scheme().toLower();
    if (scheme == "http" || scheme == "https" || scheme == "mailto") {
      QDesktopServices::openUrl(url);
    }
  });
}

QVariant DetailsPane::loadResource(int, const QUrl&) { return {}; }

void DetailsPane::ShowHint(const QString& html) { setHtml(html); }

void DetailsPane::Show(const ExtensionFacts& extension, const DetailFacts& details) {
  QString html = QStringLiteral("<h3>%1</h3><p>").arg(extension.name.toHtmlEscaped());
  html += tr("Version %1, %2").arg(extension.version.toHtmlEscaped(), extension.type.toHtmlEscaped());
  if (!extension.author.isEmpty()) {
    html += tr(", by %1").arg(extension.author.toHtmlEscaped());
  }
  html += extension.enabled ? QString() : tr(". Switched off: its files are set aside.");
  html += QStringLiteral("</p>") + details.text;
  if (!details.problemNote.isEmpty()) {
    html += QStringLiteral("<p><i>%1</i></p>").arg(details.problemNote.toHtmlEscaped());
  } else if (details.checked && details.problems.isEmpty() && extension.enabled) {
    html += QStringLiteral("<p><i>%1</i></p>").arg(tr("All of it is as its install left it."));
  }
  html += List(tr("Not as its install left it"), details.problems);
  html += List(tr("What it changes"), details.changes);
  html += List(tr("Files"), details.files);
  const int scrolled = verticalScrollBar()->value();
  setHtml(html);
  if (details.checked) { // the same extension once more
    verticalScrollBar()->setValue(scrolled);
  }
}

} // namespace kest::desktop
