/// \file
/// The window that shows the help file.
#pragma once

#include "help/viewer/HelpBook.h"

#include <QMainWindow>

#include <memory>

class QSplitter;
class QToolBar;
class QUrl;

namespace qm {

class HelpPage;
class HelpSides;
class HelpText;

/// Contents, index and search at the left, the page at the right. A page that cannot be read leaves the rest usable.
class frmHelp final : public QMainWindow
{
    Q_OBJECT
public:
    /// \p stateFile keeps the window's look for this user; empty: nothing is kept.
    explicit frmHelp(std::unique_ptr<HelpBook> book, QString stateFile = {}, QWidget *parent = nullptr);
    ~frmHelp() override;

    [[nodiscard]] const HelpBook &book() const { return *m_book; }
    /// \p page as in the contents; empty: the page to begin with.
    void showPage(const QString &page);

protected:
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void buildTools();
    void addZoomTools(QToolBar &tools);
    QAction *addTool(QToolBar &tools, const char *name, const QString &text, const QList<QKeySequence> &keys);
    void followPage(const QUrl &page);
    void print();
    void restoreLook();

    std::unique_ptr<HelpBook> m_book;
    QString m_stateFile;
    HelpSides *m_sides;
    HelpPage *m_pane;
    HelpText *m_page; ///< of m_pane
    QSplitter *m_splitter = nullptr;
};

} // namespace qm
