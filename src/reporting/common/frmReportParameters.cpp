#include "reporting/common/frmReportParameters.h"

#include "reporting/common/Icons.h"
#include "reporting/common/ParameterField.h"
#include "reporting/common/PeriodPicker.h"
#include "reporting/common/VisibleText.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

namespace qm {

frmReportParameters::frmReportParameters(const LocatedQuery &located, const QMap<QString, QString> &last, const Clock &clock,
                                         QWidget *parent)
    : QDialog(parent)
{
    const Query &query = *located.query;
    setObjectName(QStringLiteral("frmReportParameters"));
    setWindowTitle(tr("Report parameters"));
    setWindowIcon(uiIcon("report"));

    auto heading = new QLabel(this);
    heading->setTextFormat(Qt::PlainText);
    heading->setText(visibleText(query.Description));
    heading->setWordWrap(true);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);

    auto fields = new QWidget;
    auto form = new QFormLayout(fields);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    if (located.takesPeriod) {
        m_period = new PeriodPicker(clock, PeriodPicker::Dates::Offered, fields);
        m_period->setPhrase(last.value(QStringLiteral("\x01period"), query.period.used ? query.period.range : QString()));
        form->addRow(tr("Period:"), m_period);
    }
    for (const QueryParameter &parameter : query.parameters) {
        auto field = new ParameterField(parameter, clock, fields);
        field->setValue(last.value(parameter.name, parameter.defaultValue));
        auto label = new QLabel(fields);
        label->setTextFormat(Qt::PlainText);
        label->setText(visibleText(parameter.label.isEmpty() ? parameter.name : parameter.label) + u':');
        label->setBuddy(field);
        form->addRow(label, field);
        m_fields.push_back(field);
    }
    auto scroll = new QScrollArea(this);
    scroll->setWidget(fields);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setFocusPolicy(Qt::NoFocus); // its fields take the focus
    scroll->setMinimumSize(540, std::min(fields->sizeHint().height() + 56, 520));

    auto buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(tr("&Generate"));
    buttons->button(QDialogButtonBox::Ok)->setIcon(uiIcon("run"));
    buttons->button(QDialogButtonBox::Cancel)->setIcon(uiIcon("cancel"));
    buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("cmdGenerate"));
    buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("cmdCancel"));
    connect(buttons, &QDialogButtonBox::accepted, this, &frmReportParameters::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &frmReportParameters::reject);

    auto layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addWidget(scroll, 1);
    layout->addWidget(buttons);
    for (ParameterField *field : m_fields) {
        if (!field->parameter().hasDefault) {
            field->setFocus();
            break;
        }
    }
}

QMap<QString, QString> frmReportParameters::values() const
{
    QMap<QString, QString> values;
    for (const ParameterField *field : m_fields)
        values.insert(field->parameter().name, field->value());
    if (m_period && !m_period->phrase().isEmpty())
        values.insert(QStringLiteral("\x01period"), m_period->phrase());
    return values;
}

void frmReportParameters::apply(QueryChoices &choices) const
{
    for (const ParameterField *field : m_fields)
        choices.parameters.insert(field->parameter().name, field->value());
    if (!m_period)
        return;
    if (m_period->hasDates()) {
        choices.from = m_period->from();
        choices.to = m_period->to();
    } else {
        choices.period = m_period->phrase();
    }
}

void frmReportParameters::accept()
{
    ParameterField *firstWrong = nullptr;
    for (ParameterField *field : m_fields)
        if (!field->check() && !firstWrong)
            firstWrong = field;
    if (firstWrong) {
        firstWrong->setFocus();
        return;
    }
    if (m_period && m_period->hasDates() && m_period->to() < m_period->from()) {
        m_period->setFocus();
        return;
    }
    QDialog::accept();
}

} // namespace qm
