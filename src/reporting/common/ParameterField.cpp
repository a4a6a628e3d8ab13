#include "reporting/common/ParameterField.h"

#include "core/RuntimeError.h"
#include "engine/sql/SqlParameters.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QLabel>
#include <QLineEdit>
#include <QTimeEdit>
#include <QVBoxLayout>

namespace qm {

ParameterField::ParameterField(const QueryParameter &parameter, const Clock &clock, QWidget *parent)
    : QWidget(parent), m_parameter(parameter), m_clock(clock), m_reason(new QLabel(this))
{
    QWidget *editor = makeEditor();
    editor->setObjectName(QStringLiteral("parameter_") + parameter.name);
    editor->setAccessibleName(parameter.label.isEmpty() ? parameter.name : parameter.label);
    setFocusProxy(editor);
    m_reason->setTextFormat(Qt::PlainText);
    m_reason->setWordWrap(true);
    m_reason->setObjectName(QStringLiteral("reason_") + parameter.name);
    m_reason->hide();
    auto layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(editor);
    layout->addWidget(m_reason);
}

QWidget *ParameterField::makeEditor()
{
    switch (m_parameter.type) {
    case ParameterType::Date:
        return makeDateEdit();
    case ParameterType::Time:
        return makeTimeEdit();
    case ParameterType::Boolean:
        return makeBox();
    case ParameterType::List:
        return makeChoice();
    case ParameterType::Text:
    case ParameterType::Integer:
    case ParameterType::Number:
        break;
    }
    return makeLineEdit();
}

QWidget *ParameterField::makeLineEdit()
{
    auto edit = new QLineEdit(this);
    if (m_parameter.type != ParameterType::Text)
        edit->setPlaceholderText(expectedForm(m_parameter));
    m_set = [edit](const QString &value) { edit->setText(value); };
    m_get = [edit] { return edit->text(); };
    connect(edit, &QLineEdit::textEdited, m_reason, &QWidget::hide);
    return edit;
}

QWidget *ParameterField::makeDateEdit()
{
    const QDate today = m_clock.wallNow().date;
    auto edit = new QDateEdit(today, this);
    edit->setCalendarPopup(true);
    edit->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
    m_set = [edit, today](const QString &value) {
        const QString word = value.trimmed().toLower();
        QDate date = QDate::fromString(word, Qt::ISODate);
        if (!date.isValid())
            date = today.addDays(word == u"yesterday" ? -1 : word == u"tomorrow" ? 1 : 0);
        edit->setDate(date);
    };
    m_get = [edit] { return edit->date().toString(Qt::ISODate); };
    return edit;
}

QWidget *ParameterField::makeTimeEdit()
{
    auto edit = new QTimeEdit(QTime(0, 0), this);
    edit->setDisplayFormat(QStringLiteral("HH:mm:ss"));
    m_set = [edit](const QString &value) {
        const QTime time = QTime::fromString(value, Qt::ISODate);
        edit->setTime(time.isValid() ? time : QTime(0, 0));
    };
    m_get = [edit] { return edit->time().toString(QStringLiteral("HH:mm:ss")); };
    return edit;
}

QWidget *ParameterField::makeBox()
{
    auto box = new QCheckBox(tr("Yes"), this);
    m_set = [box](const QString &value) {
        const QString word = value.trimmed().toLower();
        box->setChecked(word == u"true" || word == u"yes" || word == u"1" || word == u"on");
    };
    m_get = [box] { return box->isChecked() ? QStringLiteral("true") : QStringLiteral("false"); };
    return box;
}

QWidget *ParameterField::makeChoice()
{
    auto choice = new QComboBox(this);
    choice->addItems(m_parameter.values);
    m_set = [choice](const QString &value) { choice->setCurrentIndex(std::max(0, choice->findText(value, Qt::MatchExactly))); };
    m_get = [choice] { return choice->currentText(); };
    return choice;
}

bool ParameterField::check()
{
    try {
        static_cast<void>(readParameterValue(m_parameter, value(), m_clock.wallNow().date));
    } catch (const RuntimeError &error) {
        m_reason->setText(error.description());
        m_reason->show();
        return false;
    }
    m_reason->hide();
    return true;
}

} // namespace qm
