/// \file
/// How the operator left the main window, per user.
#pragma once

#include "catalogue/CatalogueListView.h"

#include <QByteArray>
#include <QList>

class QSplitter;
class QTableView;
class QWidget;

namespace qm {

/// What of the window is kept from one session to the next.
struct WindowParts
{
    QWidget &window;
    QList<QSplitter *> splitters; ///< found again by object name
    CatalogueListView &list;
    QTableView &scheduleTable;
};

/// Keeps geometry, splitters and column widths in a file of the user's own. A file that cannot be read or written is no error: the window
/// then has its first look.
class WindowState final
{
public:
    /// \p path of the state file; empty: nothing is kept.
    explicit WindowState(QString path) : m_path(std::move(path)) {}
    void restore(const WindowParts &parts) const;
    void save(const WindowParts &parts) const;

private:
    QString m_path;
};

} // namespace qm
