/// \file
/// The window that shows the help file.
#pragma once

#include "help/viewer/HelpBook.h"

#include <QMainWindow>

#include <memory>

class QLabel;
class QLineEdit;
class QListWidget;
class QTabWidget;
class QToolBar;
class QTreeWidget;
class QTreeWidgetItem;
class QUrl;

namespace qm {

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
    /// The access letters of the tabs move the focus too, also when the tab is the current one.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildTools();
    void addZoomTools(QToolBar &tools);
    QAction *addTool(QToolBar &tools, const char *name, const QString &text, const QList<QKeySequence> &keys);
    void buildSides();
    QWidget *makeContents();
    QWidget *makeIndex();
    QWidget *makeSearch();
    QWidget *makePage();
    void buildFindBar(QToolBar &bar);
    void focusSide();
    void filterIndex(const QString &text);
    void search();
    /// Selects the entry of the page shown in the contents.
    void followPage(const QUrl &page);
    void openItem(const QTreeWidgetItem *item);
    void print();
    void showFindBar();
    void hideFindBar();
    void findInPage(bool backward);
    void setZoom(int steps);
    void restoreLook();

    std::unique_ptr<HelpBook> m_book;
    QString m_stateFile;
    HelpText *m_page;
    QTabWidget *m_tabs;
    QTreeWidget *m_contents;
    QTreeWidget *m_index;
    QLineEdit *m_indexFilter;
    QLineEdit *m_searchWords;
    QListWidget *m_hits;
    QLabel *m_hitCount;
    QToolBar *m_findBar;
    QLineEdit *m_findText;
    QLabel *m_findResult;
};

} // namespace qm
