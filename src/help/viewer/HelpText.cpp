#include "help/viewer/HelpText.h"

#include "help/viewer/HelpBook.h"

#include <QDesktopServices>
#include <QEvent>
#include <QScrollBar>
#include <QWheelEvent>

namespace qm {

namespace {
constexpr int kSmallest = -5, kLargest = 14;
constexpr qreal kStep = 1.1;
const QString kScheme = QStringLiteral("help");

QUrl urlOf(const QString &page)
{
    QUrl url;
    url.setScheme(kScheme);
    url.setPath(u'/' + page.section(u'#', 0, 0));
    if (page.contains(u'#'))
        url.setFragment(page.section(u'#', 1));
    return url;
}
} // namespace

HelpText::HelpText(QWidget *parent) : QTextBrowser(parent), m_pointSize(font().pointSizeF())
{
    setObjectName(QStringLiteral("txtHelp"));
    setAccessibleName(tr("Help page"));
    setOpenLinks(false);
    setFrameShape(QFrame::NoFrame);
    document()->setDocumentMargin(18);
    connect(this, &QTextBrowser::anchorClicked, this, &HelpText::follow);
}

void HelpText::setBook(const HelpBook *book)
{
    m_book = book;
    clear();
    clearHistory();
}

void HelpText::showPage(const QString &page)
{
    setSource(urlOf(page));
}

void HelpText::setZoom(int steps)
{
    m_zoom = std::clamp(steps, kSmallest, kLargest);
    QFont scaled = font();
    scaled.setPointSizeF(m_pointSize * std::pow(kStep, m_zoom));
    setFont(scaled);
}

void HelpText::follow(const QUrl &link)
{
    const QUrl url = source().resolved(link);
    const QString scheme = url.scheme();
    if (scheme == kScheme) {
        setSource(url);
    } else if (scheme == QLatin1String("http") || scheme == QLatin1String("https") || scheme == QLatin1String("mailto")) {
        Q_EMIT leftForDesktop(url);
        QDesktopServices::openUrl(url);
    }
}

void HelpText::doSetSource(const QUrl &url, QTextDocument::ResourceType type)
{
    if (url.scheme() == kScheme)
        QTextBrowser::doSetSource(url, type == QTextDocument::UnknownResource ? QTextDocument::HtmlResource : type);
}

QVariant HelpText::loadResource(int type, const QUrl &name)
{
    const QUrl url = source().isEmpty() ? name : source().resolved(name);
    if (!m_book || url.scheme() != kScheme)
        return {};
    const std::optional<QByteArray> bytes = m_book->file(pageOf(url));
    if (bytes)
        return type == QTextDocument::ImageResource ? QVariant(*bytes) : QVariant(QString::fromUtf8(*bytes));
    if (type != QTextDocument::HtmlResource)
        return {};
    return tr("<h1>This page is missing</h1><p>The help file has no page \"%1\", or it is damaged. Choose another page from the contents, "
              "or "
              "install the help file again.</p>")
        .arg(pageOf(url).toHtmlEscaped());
}

void HelpText::wheelEvent(QWheelEvent *event)
{
    if (!(event->modifiers() & Qt::ControlModifier))
        return QTextBrowser::wheelEvent(event);
    event->accept();
    if (event->angleDelta().y() != 0)
        Q_EMIT zoomRequested(event->angleDelta().y() > 0 ? 1 : -1);
}

void HelpText::changeEvent(QEvent *event)
{
    QTextBrowser::changeEvent(event);
    // The style sheet takes its colours from the palette when a page is read.
    if (event->type() == QEvent::PaletteChange && !source().isEmpty()) {
        const int at = verticalScrollBar()->value();
        reload();
        verticalScrollBar()->setValue(at);
    }
}

} // namespace qm
