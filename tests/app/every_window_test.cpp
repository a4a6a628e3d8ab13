// What holds for every window: a name and a role for each control, a way to each by the Tab key, no text that cannot be translated, a page
// of the help.

#include "WindowGallery.h"

#include "help/HelpKey.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QRadioButton>
#include <QStyledItemDelegate>
#include <QTabBar>
#include <QTableView>
#include <QTranslator>

using namespace qm;
using namespace qm::test;
using namespace Qt::StringLiterals;

namespace {

/// Marks every text that is translated at all.
class MarkingTranslator final : public QTranslator
{
public:
    static constexpr char16_t kMark = u'\u27e6';
    [[nodiscard]] bool isEmpty() const override { return false; }
    [[nodiscard]] QString translate(const char *, const char *source, const char *, int) const override
    {
        return kMark + QString::fromUtf8(source);
    }
};

/// Whether the operator can put the keyboard focus there.
bool takesFocus(const QWidget &widget)
{
    return widget.isVisible() && widget.isEnabled() && (widget.focusPolicy() & Qt::TabFocus) && !widget.focusProxy();
}

QString described(const QWidget &widget)
{
    return QString::fromLatin1(widget.metaObject()->className()) + u' ' + widget.objectName();
}

/// Of a group of radio buttons only the chosen one is reached.
bool isPassedOver(const QWidget &widget)
{
    const auto *radio = qobject_cast<const QRadioButton *>(&widget);
    return radio && !radio->isChecked();
}

/// The controls that Tab goes through from the window's first one, and Shift+Tab from its last. An editor that takes both keys for itself
/// ends the way; what stands behind it is reached from the other end.
QSet<const QWidget *> reachedByTab(QWidget &window)
{
    constexpr int kMostControls = 80;
    QList<QWidget *> chain;
    for (QWidget *next = window.nextInFocusChain(); next && next != &window; next = next->nextInFocusChain())
        if (takesFocus(*next) && next->window() == &window)
            chain.append(next);
    QSet<const QWidget *> reached;
    if (chain.isEmpty())
        return reached;
    for (const bool forward : {true, false}) {
        (forward ? chain.first() : chain.last())->setFocus(forward ? Qt::TabFocusReason : Qt::BacktabFocusReason);
        for (int i = 0; i < kMostControls; ++i) {
            QWidget *focus = window.focusWidget();
            reached.insert(focus);
            QTest::keyClick(focus, forward ? Qt::Key_Tab : Qt::Key_Backtab, forward ? Qt::NoModifier : Qt::ShiftModifier);
            if (window.focusWidget() == focus)
                break;
        }
    }
    return reached;
}

/// The texts of a window that are the program's own, not the operator's.
QStringList ownTexts(const QWidget &window)
{
    QStringList texts{window.windowTitle()};
    const auto actions = window.findChildren<QAction *>() + window.actions();
    for (const QAction *action : actions)
        if (!action->isSeparator())
            texts << action->text();
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        texts << widget->toolTip() << widget->accessibleName();
        if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
            texts << button->text();
        else if (const auto *box = qobject_cast<const QGroupBox *>(widget))
            texts << box->title();
        else if (const auto *line = qobject_cast<const QLineEdit *>(widget))
            texts << line->placeholderText();
        else if (const auto *tabs = qobject_cast<const QTabBar *>(widget))
            for (int i = 0; i < tabs->count(); ++i)
                texts << tabs->tabText(i);
        else if (const auto *label = qobject_cast<const QLabel *>(widget); label && label->buddy())
            texts << label->text();
        else if (const auto *header = qobject_cast<const QHeaderView *>(widget); header && header->model())
            for (int i = 0; i < header->count() && header->orientation() == Qt::Horizontal; ++i)
                texts << header->model()->headerData(i, Qt::Horizontal).toString();
    }
    return texts;
}

} // namespace

class EveryWindowTest final : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void every_control_has_a_name_and_a_role_and_is_reached_by_tab()
    {
        QStringList faults;
        WindowGallery([&](const QString &name, QWidget &window) {
            if (window.windowType() == Qt::Popup)
                return;
            const QSet<const QWidget *> reached = reachedByTab(window);
            int controls = 0;
            for (const QWidget *widget : window.findChildren<QWidget *>()) {
                if (!takesFocus(*widget) || widget->window() != &window)
                    continue;
                ++controls;
                const QAccessibleInterface *face = QAccessible::queryAccessibleInterface(const_cast<QWidget *>(widget));
                const QString where = name + u": "_s + described(*widget);
                if (face->text(QAccessible::Name).isEmpty())
                    faults << where + u" has no name"_s;
                if (face->role() == QAccessible::NoRole || face->role() == QAccessible::Client || face->role() == QAccessible::Pane)
                    faults << where + u" has no role"_s;
                if (!reached.contains(widget) && !isPassedOver(*widget))
                    faults << where + u" is not reached by Tab"_s;
            }
            if (controls == 0 && name != QLatin1String("frmSplash"))
                faults << name + u" has no control"_s;
        }).showAll();
        QVERIFY2(faults.isEmpty(), qPrintable(faults.join(u'\n')));
    }

    void every_text_can_be_translated()
    {
        MarkingTranslator translator;
        QCoreApplication::installTranslator(&translator);
        const auto takeAway = qScopeGuard([&] { QCoreApplication::removeTranslator(&translator); });
        // Names and the operator's own words.
        const QStringList names{u"..."_s,
                                u"Aa"_s,
                                QString::fromLatin1(kApplicationTitle),
                                u"MSSQL::Payroll.dsf"_s,
                                u"DSN=Events;UID=auditor"_s,
                                u"sum(attempts); count"_s,
                                u"count"_s,
                                u"computer"_s,
                                u"computer:"_s,
                                u"ID"_s,
                                u"Time generated"_s,
                                u"Computer"_s,
                                u"Attempts"_s,
                                u"Message"_s};
        const QRegularExpression words(u"\\p{L}{2}"_s);
        QSet<QString> bare;
        WindowGallery([&](const QString &name, QWidget &window) {
            for (const QString &text : ownTexts(window))
                if (text.contains(words) && !text.contains(MarkingTranslator::kMark) && !text.startsWith(u'{') && !names.contains(text))
                    bare.insert(name + u": "_s + text);
        }).showAll();
        QStringList found(bare.begin(), bare.end());
        found.sort();
        QVERIFY2(found.isEmpty(), qPrintable(found.join(u'\n')));
    }

    void from_right_to_left_rows_stay_selected_and_paths_whole()
    {
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
        const auto back = qScopeGuard([] { QGuiApplication::setLayoutDirection(Qt::LeftToRight); });
        int windows = 0;
        WindowGallery([&](const QString &name, QWidget &window) {
            if (name != QLatin1String("frmMain"))
                return;
            ++windows;
            auto *table = window.findChild<QTableView *>(u"dtblScheduleTable"_s);
            QCOMPARE(table->selectionModel()->selectedRows().size(), 1);
            const QModelIndex path = table->model()->index(0, JobTable::QueryFile);
            const auto *delegate = qobject_cast<QStyledItemDelegate *>(table->itemDelegateForIndex(path));
            const QString shown = delegate->displayText(path.data(), QLocale());
            QVERIFY(shown.contains(path.data().toString()) && shown.isRightToLeft() == false && shown.front() == QChar(0x202a));
        }).showMainWindow();
        QCOMPARE(windows, 1);
    }

    void f1_opens_the_page_about_the_window()
    {
        FakeHelp asked;
        ScriptedPrompts prompts;
        ErrorReporter errors(prompts);
        const QMap<QString, int> expected{
            {u"frmAbout"_s, 26},           {u"frmAddNewDataSource"_s, 24}, {u"frmQueryEditor"_s, 101}, {u"frmReportParameters"_s, 102},
            {u"frmReportProgress"_s, 103}, {u"frmReportDone"_s, 103},      {u"frmReportViewer"_s, 103}};
        // These say by themselves that their help file is missing, as their Help button does.
        const QStringList withButton{u"frmDataSource"_s, u"frmEmailSettings"_s, u"frmScheduledReport"_s};
        QSet<QString> seen;
        WindowGallery gallery([&](const QString &name, QWidget &window) {
            const QString form = name.section(u',', 0, 0);
            if (!expected.contains(form) && !withButton.contains(form))
                return;
            const HelpKey key(asked, errors);
            asked.contexts.clear();
            int clicks = 0;
            if (withButton.contains(form))
                connect(window.findChild<QAbstractButton *>(u"cmdHelp"_s), &QAbstractButton::clicked, this, [&clicks] { ++clicks; });
            QTest::keyClick(window.focusWidget() ? window.focusWidget() : &window, Qt::Key_F1);
            if (expected.contains(form))
                QCOMPARE(asked.contexts, std::vector<int>{expected.value(form)});
            else
                QCOMPARE(clicks, 1);
            seen.insert(form);
        });
        gallery.showAll();
        QCOMPARE(seen.size(), expected.size() + withButton.size());
    }
};

QTEST_MAIN(EveryWindowTest)
#include "every_window_test.moc"
