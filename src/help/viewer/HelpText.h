/// \file
/// The pane that shows a page of the help.
#pragma once

#include <QTextBrowser>

namespace qm {

class HelpBook;

/// Shows pages of the open book and nothing else: nothing is loaded from elsewhere, and links that lead out of the book go to the desktop
/// when they are of the web or mail, nowhere otherwise.
class HelpText final : public QTextBrowser
{
    Q_OBJECT
public:
    explicit HelpText(QWidget *parent = nullptr);
    /// Empties the pane and its history. \p book outlives its use here.
    void setBook(const HelpBook *book);
    /// \p page as in the contents: a path in the book, and "#anchor" perhaps.
    void showPage(const QString &page);
    /// Path of the page shown, without anchor.
    [[nodiscard]] QString page() const { return pageOf(source()); }
    [[nodiscard]] static QString pageOf(const QUrl &url) { return url.path().mid(1); }
    void setZoom(int steps);
    [[nodiscard]] int zoom() const { return m_zoom; }

    [[nodiscard]] QVariant loadResource(int type, const QUrl &name) override;

Q_SIGNALS:
    /// A link that the desktop is asked to open.
    void leftForDesktop(const QUrl &url);
    void zoomRequested(int steps);

protected:
    void doSetSource(const QUrl &url, QTextDocument::ResourceType type) override;
    void wheelEvent(QWheelEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void follow(const QUrl &link);

    const HelpBook *m_book = nullptr;
    int m_zoom = 0;
    qreal m_pointSize;
};

} // namespace qm
