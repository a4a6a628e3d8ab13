#include "reporting/common/PeriodPicker.h"

#include "core/RuntimeError.h"
#include "engine/sql/Period.h"

#include <QComboBox>
#include <QDateEdit>
#include <QHBoxLayout>
#include <QLabel>
#include <QRegularExpression>
#include <QSpinBox>
#include <QVBoxLayout>

namespace qm {

namespace {

constexpr const char *kPhrases[] = {"today",          "yesterday",        "last 24 hours", "last week",    "last 14 days", "last month",
                                    "last 90 days",   "this week",        "this month",    "this quarter", "this year",    "previous week",
                                    "previous month", "previous quarter", "previous year", "all time"};
const QString kLastN = QStringLiteral("\x01last");
const QString kBetween = QStringLiteral("\x01"
                                        "between");

QString asShown(const QString &phrase)
{
    return phrase.isEmpty() ? phrase : phrase.at(0).toUpper() + phrase.mid(1);
}

QDateEdit *dateEdit(QWidget *parent, QDate date, const QString &name)
{
    auto edit = new QDateEdit(date, parent);
    edit->setCalendarPopup(true);
    edit->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
    edit->setAccessibleName(name);
    return edit;
}

} // namespace

PeriodPicker::PeriodPicker(const Clock &clock, Dates dates, QWidget *parent)
    : QWidget(parent), m_clock(clock), m_choice(new QComboBox(this)), m_count(new QSpinBox(this)), m_unit(new QComboBox(this)),
      m_from(dateEdit(this, clock.wallNow().date.addDays(-7), tr("First day"))), m_to(dateEdit(this, clock.wallNow().date, tr("Last day"))),
      m_between(new QLabel(tr("to"), this)), m_meaning(new QLabel(this))
{
    setObjectName(QStringLiteral("periodPicker"));
    for (const char *phrase : kPhrases)
        m_choice->addItem(asShown(QLatin1String(phrase)), QString::fromLatin1(phrase));
    m_choice->insertSeparator(m_choice->count());
    m_choice->addItem(tr("Last …"), kLastN);
    if (dates == Dates::Offered)
        m_choice->addItem(tr("Between two dates"), kBetween);
    m_choice->setObjectName(QStringLiteral("periodChoice"));
    m_choice->setAccessibleName(tr("Period"));
    m_choice->setMaxVisibleItems(20);
    m_count->setRange(1, 9999);
    m_count->setValue(30);
    m_count->setAccessibleName(tr("How many"));
    m_unit->addItems({tr("hours"), tr("days"), tr("weeks"), tr("months")});
    m_unit->setCurrentIndex(1);
    m_unit->setAccessibleName(tr("Unit"));
    m_meaning->setTextFormat(Qt::PlainText);
    m_meaning->setWordWrap(true);
    m_meaning->setForegroundRole(QPalette::PlaceholderText);

    auto row = new QHBoxLayout;
    for (QWidget *widget : std::initializer_list<QWidget *>{m_choice, m_count, m_unit, m_from, m_between, m_to})
        row->addWidget(widget);
    row->addStretch();
    auto layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(row);
    layout->addWidget(m_meaning);

    connect(m_choice, &QComboBox::currentIndexChanged, this, &PeriodPicker::refresh);
    connect(m_count, &QSpinBox::valueChanged, this, &PeriodPicker::refresh);
    connect(m_unit, &QComboBox::currentIndexChanged, this, &PeriodPicker::refresh);
    connect(m_from, &QDateEdit::dateChanged, this, &PeriodPicker::refresh);
    connect(m_to, &QDateEdit::dateChanged, this, &PeriodPicker::refresh);
    setFocusProxy(m_choice);
    setPhrase(QStringLiteral("last week"));
}

void PeriodPicker::setPhrase(const QString &phrase)
{
    const QString wanted = phrase.trimmed().toLower();
    int found = m_choice->findData(wanted);
    static const QRegularExpression lastN(QStringLiteral("^last (\\d{1,4}) (hour|day|week|month)s?$"));
    const auto match = lastN.match(wanted);
    if (found < 0 && match.hasMatch() && match.captured(1).toInt() > 0) {
        m_count->setValue(match.captured(1).toInt());
        m_unit->setCurrentIndex(
            static_cast<int>(QStringList({QStringLiteral("hour"), QStringLiteral("day"), QStringLiteral("week"), QStringLiteral("month")})
                                 .indexOf(match.captured(2))));
        found = m_choice->findData(kLastN);
    } else if (found < 0 && !wanted.isEmpty()) {
        m_choice->insertItem(0, phrase, phrase);
        found = 0;
    }
    m_choice->setCurrentIndex(found < 0 ? m_choice->findData(QStringLiteral("last week")) : found);
    refresh();
}

QString PeriodPicker::phrase() const
{
    const QString chosen = m_choice->currentData().toString();
    static const char *const units[] = {"hours", "days", "weeks", "months"};
    if (chosen == kLastN)
        return QStringLiteral("last %1 %2").arg(m_count->value()).arg(QLatin1String(units[m_unit->currentIndex()]));
    return chosen == kBetween ? QString() : chosen;
}

bool PeriodPicker::hasDates() const
{
    return m_choice->currentData().toString() == kBetween;
}

void PeriodPicker::setTaken(bool taken)
{
    if (m_taken == taken)
        return;
    m_taken = taken;
    showMeaning();
}

QDate PeriodPicker::from() const
{
    return m_from->date();
}

QDate PeriodPicker::to() const
{
    return m_to->date();
}

void PeriodPicker::refresh()
{
    const bool lastN = m_choice->currentData().toString() == kLastN;
    m_count->setVisible(lastN);
    m_unit->setVisible(lastN);
    for (QWidget *widget : std::initializer_list<QWidget *>{m_from, m_between, m_to})
        widget->setVisible(hasDates());
    showMeaning();
    Q_EMIT changed();
}

void PeriodPicker::showMeaning()
{
    try {
        if (!m_taken)
            m_meaning->setText(tr("The SQL uses neither :date_from nor :date_to, so the report has no period."));
        else if (hasDates() && m_to->date() < m_from->date())
            m_meaning->setText(tr("The last day is before the first."));
        else if (hasDates())
            m_meaning->setText(periodBetween(m_from->date(), m_to->date(), m_clock).words);
        else
            m_meaning->setText(resolvePeriod(phrase(), m_clock).words);
    } catch (const RuntimeError &error) {
        m_meaning->setText(error.description());
    }
}

} // namespace qm
