/// \file
/// The main window at work, and the operator's hands.
#pragma once

#include "ShellHarness.h"

#include "catalogue/CatalogueKeys.h"
#include "platform/Files.h"
#include "scheduler/ScheduleTableView.h"

#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QTimer>
#include <QToolBar>

namespace qm::test {

using namespace Qt::StringLiterals;

/// Server: Daily (Locks, Logons), Weekly (empty). Mail: Traffic (Senders). An empty schedule; data sources can be edited.
struct CommandOffice : ShellHarness
{
    CommandOffice()
    {
        connectionTester = &tester;
        daily = installation.group(u"Server"_s, u"Daily"_s) + kSep;
        weekly = installation.group(u"Server"_s, u"Weekly"_s) + kSep;
        locks = installation.write(daily + u"Locks.rqn"_s, queryFile(u"Locks"_s));
        logons = installation.write(daily + u"Logons.rqn"_s, queryFile(u"Logons"_s));
        traffic = installation.group(u"Mail"_s, u"Traffic"_s) + kSep;
        senders = installation.write(traffic + u"Senders.rqn"_s, queryFile(u"Senders"_s));
        start();
        show();
    }

    void clickNode(const QString &key, Qt::MouseButton button = Qt::LeftButton) const
    {
        const QModelIndex index = selection().tree().find(key);
        QVERIFY2(index.isValid(), qPrintable(key));
        tree().expand(index.parent());
        QTest::mouseClick(tree().viewport(), button, {}, tree().visualRect(index).center());
    }
    void clickPackage() const { clickNode(packageKey(package)); }
    void clickGroup(const QString &name) const { clickNode(groupKey(package, name)); }
    [[nodiscard]] QPoint rowPoint(int row) const { return list().visualRect(list().model()->index(row, 0)).center(); }
    void clickRow(int row, Qt::MouseButton button = Qt::LeftButton) const
    {
        QTest::mouseClick(list().viewport(), button, {}, rowPoint(row));
    }
    void clickQuery(const QString &text) const
    {
        clickGroup(u"Daily"_s);
        clickRow(static_cast<int>(listed().indexOf(text)));
    }
    [[nodiscard]] ScheduleTableView &schedule() const { return window->schedule().dtblScheduleTable(); }
    void clickJob(int row) const
    {
        QTest::mouseClick(schedule().viewport(), Qt::LeftButton, {}, schedule().visualRect(schedule().model()->index(row, 3)).center());
    }
    void addJob(const QString &description, const QString &file)
    {
        globals.gcolJobs->push_back(
            std::make_shared<ScheduledReportJob>(ScheduledReportJob{description, file, {QDate(2030, 1, 1), 25'200}, 1, 1}));
        window->schedule().jobs().PopulateJobs();
    }
    [[nodiscard]] QModelIndex group(const QString &name) const { return selection().tree().find(groupKey(package, name)); }
    [[nodiscard]] QMenu &rightClickMenu() const { return *window->commands().menu(u"ID_RightClick"_s); }
    void closeMenu() const
    {
        QTRY_VERIFY(rightClickMenu().isVisible());
        rightClickMenu().close();
    }
    /// A right click beside the rows, or below the nodes.
    static void clickFreeSpace(const QAbstractItemView &view)
    {
        QTest::mouseClick(view.viewport(), Qt::RightButton, {}, {view.viewport()->width() - 5, view.viewport()->height() - 5});
    }
    /// The editor of a label that is open in \p view; null if none is.
    [[nodiscard]] static QLineEdit *labelEditor(const QAbstractItemView &view) { return view.findChild<QLineEdit *>(); }
    /// Enters a name in the editor that is open in \p view, as an input method would, and ends with a key.
    static void enterName(const QAbstractItemView &view, const QString &name, Qt::Key end = Qt::Key_Return)
    {
        QTRY_VERIFY(labelEditor(view) && labelEditor(view)->hasFocus());
        labelEditor(view)->setText(name);
        QTest::keyClick(labelEditor(view), end);
        QCoreApplication::processEvents();
    }
    static void rename(QAbstractItemView &view, const QString &name)
    {
        QTest::keyClick(&view, Qt::Key_F2);
        enterName(view, name);
    }
    /// Types a name over the label of the selected item, and leaves the edit open.
    static void typeOverLabel(QAbstractItemView &view, const QString &name)
    {
        QTest::keyClick(&view, Qt::Key_F2);
        QTRY_VERIFY(labelEditor(view) && labelEditor(view)->hasFocus());
        QTest::keyClicks(labelEditor(view), name);
    }
    /// Presses and releases as the system tells the window of it, both in one turn of the event loop or with a \p turn between.
    void realClick(const QWidget &widget, const QPoint &point, bool turn, Qt::MouseButton button = Qt::LeftButton)
    {
        realMouse(widget, point, QEvent::MouseButtonPress, button);
        if (turn)
            QTest::qWait(1);
        realMouse(widget, point, QEvent::MouseButtonRelease, button);
        QTest::qWait(1);
    }
    void realMouse(const QWidget &widget, const QPoint &point, QEvent::Type type, Qt::MouseButton button = Qt::LeftButton)
    {
        constexpr int kNoDoubleClick = 1000;
        const QPoint global = widget.mapToGlobal(point);
        mouseTime += kNoDoubleClick;
        qt_handleMouseEvent(window->windowHandle(), window->mapFromGlobal(global), global,
                            type == QEvent::MouseButtonPress ? button : Qt::NoButton, button, type, {}, mouseTime);
    }
    [[nodiscard]] QPoint nodePoint(const QString &key) const { return tree().visualRect(selection().tree().find(key)).center(); }
    [[nodiscard]] static QStringList filesIn(const QString &folder) { return files::list(folder, u"*"_s, attr::directory); }
    [[nodiscard]] bool exists(const QString &path) const { return files::entryExists(path); }

    /// Runs \p act on the next modal dialog once it is open.
    void whenDialogOpens(std::function<void(QWidget &dialog)> act) const
    {
        auto *poll = new QTimer(window.get());
        poll->setInterval(10);
        QObject::connect(poll, &QTimer::timeout, window.get(), [poll, act = std::move(act)] {
            QWidget *dialog = QApplication::activeModalWidget();
            if (!dialog)
                return;
            poll->deleteLater();
            static_cast<void>(QTest::qWaitForWindowActive(dialog, 1000));
            act(*dialog);
        });
        poll->start();
    }
    template <class Control>
    static Control &in(QWidget &dialog, const char *name)
    {
        auto *found = dialog.findChild<Control *>(QString::fromLatin1(name));
        if (!found)
            qFatal("the dialog has no %s", name);
        return *found;
    }

    ContentTester tester;
    int mouseTime = 0; ///< ms
    QString package = u"Server Operating System Logs"_s;
    QString daily, weekly, traffic, locks, logons, senders;
};

} // namespace qm::test
