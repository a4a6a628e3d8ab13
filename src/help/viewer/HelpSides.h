/// \file
/// Contents, index and search of the help, at the window's left.
#pragma once

#include "help/viewer/HelpBook.h"

#include <QTabWidget>

class QLabel;
class QLineEdit;
class QListWidget;
class QTreeWidget;
class QTreeWidgetItem;

namespace qm {

/// Three ways to a page of the book, which must outlive them.
class HelpSides final : public QTabWidget
{
    Q_OBJECT
public:
    explicit HelpSides(const HelpBook &book, QWidget *parent = nullptr);

    /// Selects the entry of \p page (without anchor) in the contents.
    void followPage(const QString &page);

Q_SIGNALS:
    void pageChosen(const QString &page);
    /// A page that the search found; \p word is the first of the words searched for.
    void hitChosen(const QString &page, const QString &word);

protected:
    /// The access letters of the tabs move the focus too, also when the tab is the current one.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *makeContents();
    QWidget *makeIndex();
    QWidget *makeSearch();
    void focusSide();
    void filterIndex(const QString &text);
    void search();
    void openItem(const QTreeWidgetItem *item);

    const HelpBook &m_book;
    QTreeWidget *m_contents;
    QTreeWidget *m_index;
    QLineEdit *m_indexFilter;
    QLineEdit *m_searchWords;
    QListWidget *m_hits;
    QLabel *m_hitCount;
};

} // namespace qm
