#include "reporting/editor/SqlPage.h"

#include "reporting/common/Icons.h"
#include "reporting/common/NoticeStrip.h"
#include "reporting/editor/QueryProbe.h"
#include "reporting/editor/SchemaBrowser.h"
#include "reporting/editor/SqlEdit.h"

#include <QAction>
#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSplitter>
#include <QToolButton>
#include <QVBoxLayout>

namespace qm {

SqlPage::SqlPage(QWidget *parent)
    : QWidget(parent), m_edit(new SqlEdit), m_schema(new SchemaBrowser), m_error(new NoticeStrip("sqlError")), m_findBar(buildFindBar())
{
    auto left = new QWidget;
    auto column = new QVBoxLayout(left);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);
    column->addWidget(m_edit, 1);
    column->addWidget(m_findBar);
    column->addWidget(m_error);
    auto split = new QSplitter(this);
    split->addWidget(left);
    split->addWidget(m_schema);
    split->setStretchFactor(0, 1);
    split->setSizes({640, 260});
    auto layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addWidget(split);
    connect(m_error, &NoticeStrip::actionClicked, this, [this] { m_edit->goTo(m_errorLine, m_errorColumn); });
    connect(m_schema, &SchemaBrowser::chosen, m_edit, &SqlEdit::insertName);
    connect(m_schema, &SchemaBrowser::loaded, m_edit, &SqlEdit::setSchema);

    const auto shortcut = [this](const QKeySequence &keys, auto &&run) {
        auto action = new QAction(this);
        action->setShortcut(keys);
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        addAction(action);
        connect(action, &QAction::triggered, this, run);
    };
    shortcut(QKeySequence::Find, [this] { openFindBar(false); });
    shortcut(QKeySequence(Qt::CTRL | Qt::Key_H), [this] { openFindBar(true); });
    shortcut(QKeySequence(Qt::Key_F3), [this] { find(false); });
    shortcut(QKeySequence(Qt::SHIFT | Qt::Key_F3), [this] { find(true); });
}

QWidget *SqlPage::buildFindBar()
{
    auto bar = new QWidget;
    bar->setObjectName(QStringLiteral("sqlFindBar"));
    m_find = new QLineEdit(bar);
    m_find->setPlaceholderText(tr("Find"));
    m_find->setAccessibleName(tr("Find"));
    m_replace = new QLineEdit(bar);
    m_replace->setPlaceholderText(tr("Replace by"));
    m_replace->setAccessibleName(tr("Replace by"));
    m_case = new QCheckBox(tr("Match case"), bar);
    m_found = new QLabel(bar);
    m_found->setTextFormat(Qt::PlainText);
    auto next = new QPushButton(tr("&Next"), bar);
    m_replaceOne = new QPushButton(tr("&Replace"), bar);
    m_replaceAll = new QPushButton(tr("Replace &all"), bar);
    auto close = new QToolButton(bar);
    close->setIcon(uiIcon("cancel"));
    close->setAutoRaise(true);
    close->setToolTip(tr("Close the find bar"));
    for (QPushButton *button : {next, m_replaceOne, m_replaceAll})
        button->setAutoDefault(false);
    auto layout = new QHBoxLayout(bar);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget *widget : std::initializer_list<QWidget *>{m_find, m_replace, next, m_replaceOne, m_replaceAll, m_case, m_found, close})
        layout->addWidget(widget);
    bar->hide();
    connect(next, &QPushButton::clicked, this, [this] { find(false); });
    connect(m_find, &QLineEdit::returnPressed, this, [this] { find(false); });
    connect(m_replaceOne, &QPushButton::clicked, this, [this] {
        m_edit->replaceSelection(m_find->text(), m_replace->text(), m_case->isChecked());
        find(false);
    });
    connect(m_replaceAll, &QPushButton::clicked, this, [this] {
        const int count = m_edit->replaceAll(m_find->text(), m_replace->text(), m_case->isChecked());
        m_found->setText(count == 1 ? tr("1 place replaced") : tr("%1 places replaced").arg(count));
    });
    const auto hideBar = [this] {
        m_findBar->hide();
        m_edit->setFocus();
    };
    connect(close, &QToolButton::clicked, this, hideBar);
    auto escape = new QAction(bar);
    escape->setShortcut(Qt::Key_Escape);
    escape->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    bar->addAction(escape);
    connect(escape, &QAction::triggered, this, hideBar);
    return bar;
}

void SqlPage::openFindBar(bool replace)
{
    for (QWidget *widget : std::initializer_list<QWidget *>{m_replace, m_replaceOne, m_replaceAll})
        widget->setVisible(replace);
    const QString selected = m_edit->textCursor().selectedText();
    if (!selected.isEmpty() && !selected.contains(QChar::ParagraphSeparator))
        m_find->setText(selected);
    m_found->clear();
    m_findBar->show();
    m_find->setFocus();
    m_find->selectAll();
}

void SqlPage::find(bool backwards)
{
    const bool found = m_edit->findText(m_find->text(), m_case->isChecked(), backwards);
    m_found->setText(found || m_find->text().isEmpty() ? QString() : tr("Not found"));
}

void SqlPage::showError(const QString &words)
{
    const SqlPosition place = placeInError(words);
    m_errorLine = words.isEmpty() ? 0 : place.line;
    m_errorColumn = place.column;
    m_edit->markError(m_errorLine, m_errorColumn, words);
    m_error->show(words, m_errorLine > 0 ? tr("Line %1").arg(m_errorLine) : QString());
}

} // namespace qm
