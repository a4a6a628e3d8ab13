#include "reporting/viewer/SearchBar.h"

#include "reporting/common/Icons.h"
#include "reporting/common/VisibleText.h"

#include <QAction>
#include <QComboBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QTimer>
#include <QToolButton>

namespace qm {

namespace {

constexpr int kTypingPauseMs = 250;

QToolButton *toolButton(const char *icon, const QString &tip, const QString &name, QWidget *parent)
{
    auto button = new QToolButton(parent);
    button->setIcon(uiIcon(icon));
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    button->setObjectName(name);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

} // namespace

SearchBar::SearchBar(const std::vector<ReportColumn> &columns, QWidget *parent)
    : QWidget(parent), m_text(new QLineEdit(this)), m_column(new QComboBox(this)), m_case(new QToolButton(this)), m_only(nullptr),
      m_previous(toolButton("up", tr("Previous match (Shift+F3)"), QStringLiteral("findPrevious"), this)),
      m_next(toolButton("down", tr("Next match (F3)"), QStringLiteral("findNext"), this)), m_found(new QLabel(this)),
      m_delay(new QTimer(this))
{
    m_text->setObjectName(QStringLiteral("findText"));
    m_text->setPlaceholderText(tr("Find in report (Ctrl+F)"));
    m_text->setAccessibleName(tr("Find in report"));
    m_text->setClearButtonEnabled(true);
    m_text->addAction(uiIcon("find"), QLineEdit::LeadingPosition);
    m_text->setMinimumWidth(240);
    m_text->installEventFilter(this);
    m_column->addItem(tr("All columns"));
    for (const ReportColumn &column : columns)
        m_column->addItem(visibleText(QString::fromStdString(column.caption)));
    m_column->setObjectName(QStringLiteral("findColumn"));
    m_column->setAccessibleName(tr("Search in"));
    m_column->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_column->setMinimumContentsLength(14);
    m_case->setText(QStringLiteral("Aa"));
    m_case->setCheckable(true);
    m_case->setAutoRaise(true);
    m_case->setToolTip(tr("Match letter case"));
    m_case->setAccessibleName(tr("Match letter case"));
    m_case->setObjectName(QStringLiteral("matchCase"));
    m_case->setFocusPolicy(Qt::TabFocus);
    m_only = toolButton("filter", tr("Show only the rows that match"), QStringLiteral("onlyMatches"), this);
    m_only->setText(tr("Only matches"));
    m_only->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_only->setCheckable(true);
    m_found->setTextFormat(Qt::PlainText);
    m_found->setObjectName(QStringLiteral("findCount"));
    m_delay->setSingleShot(true);
    m_delay->setInterval(kTypingPauseMs);

    auto layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    for (QWidget *widget : std::initializer_list<QWidget *>{m_text, m_previous, m_next, m_case, m_column, m_only, m_found})
        layout->addWidget(widget, widget == m_text ? 1 : 0);
    layout->addStretch(1);

    connect(m_text, &QLineEdit::textChanged, m_delay, qOverload<>(&QTimer::start));
    connect(m_delay, &QTimer::timeout, this, &SearchBar::termsChanged);
    connect(m_column, &QComboBox::currentIndexChanged, this, &SearchBar::termsChanged);
    connect(m_case, &QToolButton::toggled, this, &SearchBar::termsChanged);
    connect(m_only, &QToolButton::toggled, this, &SearchBar::onlyMatchesChanged);
    connect(m_next, &QToolButton::clicked, this, [this] { Q_EMIT step(1); });
    connect(m_previous, &QToolButton::clicked, this, [this] { Q_EMIT step(-1); });
    showCount(0, 0);
}

SearchTerms SearchBar::terms() const
{
    return {m_text->text(), m_case->isChecked(), m_column->currentIndex() - 1};
}

bool SearchBar::onlyMatches() const
{
    return m_only->isChecked();
}

void SearchBar::focusText()
{
    m_text->setFocus(Qt::ShortcutFocusReason);
    m_text->selectAll();
}

void SearchBar::clear()
{
    m_text->clear();
}

void SearchBar::showCount(qint64 count, qint64 current)
{
    m_next->setEnabled(count > 0);
    m_previous->setEnabled(count > 0);
    if (m_text->text().isEmpty())
        m_found->clear();
    else if (count == 0)
        m_found->setText(tr("No match"));
    else if (current > 0)
        m_found->setText(tr("%1 of %2 rows").arg(QLocale().toString(current), QLocale().toString(count)));
    else
        m_found->setText(count == 1 ? tr("1 row matches") : tr("%1 rows match").arg(QLocale().toString(count)));
}

void SearchBar::showText(const QString &text)
{
    m_found->setText(text);
}

bool SearchBar::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_text && event->type() == QEvent::KeyPress) {
        const auto key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            if (m_delay->isActive()) {
                m_delay->stop();
                Q_EMIT termsChanged();
            } else {
                Q_EMIT step(key->modifiers().testFlag(Qt::ShiftModifier) ? -1 : 1);
            }
            return true;
        }
        if (key->key() == Qt::Key_Escape) {
            m_text->clear();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace qm
