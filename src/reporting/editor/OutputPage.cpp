#include "reporting/editor/OutputPage.h"

#include "core/RuntimeError.h"
#include "engine/outputs/OutputNaming.h"
#include "engine/run/ReportFields.h"
#include "reporting/common/PrinterChoice.h"
#include "reporting/editor/QueryDraft.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QToolButton>
#include <QVBoxLayout>

#include <limits>

namespace qm {

namespace {

/// What \p edit holds, separated by ";" or by "," after an address: a name may hold a comma of its own ("Smith, Bob <bob@example.org>").
QStringList addresses(const QLineEdit *edit)
{
    QStringList found;
    QString address;
    bool isQuoted = false;
    for (const QChar c : edit->text() + u';') {
        isQuoted = isQuoted != (c == u'"');
        if (isQuoted || !(c == u';' || (c == u',' && address.contains(u'@')))) {
            address += c;
            continue;
        }
        if (!address.trimmed().isEmpty())
            found << address.trimmed();
        address.clear();
    }
    return address.trimmed().isEmpty() ? found : found << address.trimmed();
}

} // namespace

OutputPage::OutputPage(const Clock &clock, const QueryHome &home, QWidget *parent)
    : QWidget(parent), m_clock(clock), m_home(home), m_type(new QComboBox(this)), m_format(new QComboBox(this)),
      m_file(new QGroupBox(tr("File"), this)), m_mail(new QGroupBox(tr("E-mail"), this)), m_printer(new PrinterChoice(this)),
      m_limit(new QSpinBox(this)), m_timeout(new QSpinBox(this))
{
    m_type->addItems({tr("Screen"), tr("Printer"), tr("File"), tr("E-mail")});
    m_type->setObjectName(QStringLiteral("outputType"));
    for (const ReportFormat format : reportFormats())
        m_format->addItem(formatLabel(format), QVariant::fromValue(format));
    m_format->setObjectName(QStringLiteral("outputFormat"));
    m_limit->setRange(0, std::numeric_limits<int>::max());
    m_limit->setSpecialValueText(tr("no limit"));
    m_limit->setGroupSeparatorShown(true);
    m_limit->setObjectName(QStringLiteral("rowLimit"));
    m_timeout->setRange(0, 24 * 3600);
    m_timeout->setSpecialValueText(tr("as usual"));
    m_timeout->setSuffix(tr(" s"));
    m_timeout->setObjectName(QStringLiteral("timeout"));
    auto form = new QFormLayout;
    form->addRow(tr("Send the report to:"), m_type);
    form->addRow(tr("Format:"), m_format);
    form->addRow(tr("Rows at most:"), m_limit);
    form->addRow(tr("Stop after:"), m_timeout);
    buildFile();
    buildMail();
    auto layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(m_file);
    layout->addWidget(m_mail);
    layout->addWidget(m_printer);
    layout->addStretch();

    const auto watch = [this] {
        refresh();
        Q_EMIT changed();
    };
    for (QComboBox *box : {m_type, m_format})
        connect(box, &QComboBox::currentIndexChanged, this, watch);
    for (QLineEdit *edit : {m_pattern, m_from, m_to, m_cc, m_bcc, m_subjectLine})
        connect(edit, &QLineEdit::textChanged, this, watch);
    for (QCheckBox *box : {m_mark, m_guard})
        connect(box, &QCheckBox::toggled, this, watch);
    for (QSpinBox *box : {m_limit, m_timeout})
        connect(box, &QSpinBox::valueChanged, this, watch);
    connect(m_body, &QPlainTextEdit::textChanged, this, watch);
    connect(m_printer, &PrinterChoice::changed, this, watch);
}

void OutputPage::buildFile()
{
    m_pattern = new QLineEdit(m_file);
    m_pattern->setObjectName(QStringLiteral("filePattern"));
    m_pattern->setPlaceholderText(QString::fromLatin1(kDefaultFilePattern));
    m_example = new QLabel(m_file);
    m_example->setTextFormat(Qt::PlainText);
    m_example->setWordWrap(true);
    m_example->setObjectName(QStringLiteral("fileExample"));
    m_example->setForegroundRole(QPalette::PlaceholderText);
    auto insert = new QToolButton(m_file);
    insert->setText(tr("Insert field"));
    insert->setPopupMode(QToolButton::InstantPopup);
    auto menu = new QMenu(insert);
    for (const QString &field : offeredFields(FieldPlace::FileName))
        connect(menu->addAction(u'{' + field + u'}'), &QAction::triggered, m_pattern,
                [this, text = u'{' + field + u'}'] { m_pattern->insert(text); });
    insert->setMenu(menu);
    m_mark = new QCheckBox(tr("Begin CSV with a byte-order mark (for spreadsheets that expect it)"), m_file);
    m_guard = new QCheckBox(tr("Guard CSV cells that a spreadsheet would run as a formula"), m_file);
    auto row = new QHBoxLayout;
    row->addWidget(m_pattern, 1);
    row->addWidget(insert);
    auto form = new QFormLayout(m_file);
    form->addRow(tr("File name:"), row);
    form->addRow(QString(), m_example);
    form->addRow(QString(), m_mark);
    form->addRow(QString(), m_guard);
}

void OutputPage::buildMail()
{
    const auto edit = [this](const char *name) {
        auto line = new QLineEdit(m_mail);
        line->setObjectName(QLatin1String(name));
        return line;
    };
    m_from = edit("mailFrom");
    m_from->setPlaceholderText(tr("the user name of the e-mail settings, where it is an address"));
    m_to = edit("mailTo");
    m_to->setPlaceholderText(tr("several addresses separated by ;"));
    m_cc = edit("mailCc");
    m_bcc = edit("mailBcc");
    m_subjectLine = edit("mailSubject");
    m_subjectLine->setPlaceholderText(QStringLiteral("{description}, {period}"));
    m_body = new QPlainTextEdit(m_mail);
    m_body->setObjectName(QStringLiteral("mailBody"));
    m_body->setTabChangesFocus(true);
    m_body->setMaximumHeight(90);
    m_body->setPlaceholderText(tr("The report's title and facts"));
    auto form = new QFormLayout(m_mail);
    form->addRow(tr("From:"), m_from);
    form->addRow(tr("To:"), m_to);
    form->addRow(tr("Cc:"), m_cc);
    form->addRow(tr("Bcc:"), m_bcc);
    form->addRow(tr("Subject:"), m_subjectLine);
    form->addRow(tr("Text:"), m_body);
}

void OutputPage::show(const Query &query)
{
    const OutputSettings &output = query.OutputSettings;
    const bool known = output.OutputType >= 0 && output.OutputType <= 3;
    m_otherType = output.OutputType;
    if (!known && m_type->count() == 4)
        m_type->addItem(tr("Other (%1)").arg(output.OutputType));
    m_type->setCurrentIndex(known ? output.OutputType : 4);
    m_format->setCurrentIndex(m_format->findData(QVariant::fromValue(output.format)));
    m_pattern->setText(output.file);
    m_mark->setChecked(output.csvByteOrderMark);
    m_guard->setChecked(output.csvGuardFormulas);
    m_from->setText(output.email.from);
    m_to->setText(output.email.to.join(QStringLiteral("; ")));
    m_cc->setText(output.email.cc.join(QStringLiteral("; ")));
    m_bcc->setText(output.email.bcc.join(QStringLiteral("; ")));
    m_subjectLine->setText(output.email.subject);
    m_body->setPlainText(output.email.body);
    m_printer->setPrinter(output.printer);
    m_limit->setValue(static_cast<int>(std::min<qint64>(query.rowLimit, m_limit->maximum())));
    m_timeout->setValue(query.timeoutSeconds);
    refresh();
}

void OutputPage::store(Query &query) const
{
    OutputSettings &output = query.OutputSettings;
    output.OutputType = m_type->currentIndex() < 4 ? m_type->currentIndex() : m_otherType;
    output.format = format();
    output.file = m_pattern->text();
    output.csvByteOrderMark = m_mark->isChecked();
    output.csvGuardFormulas = m_guard->isChecked();
    output.email.from = m_from->text().trimmed();
    output.email.to = addresses(m_to);
    output.email.cc = addresses(m_cc);
    output.email.bcc = addresses(m_bcc);
    output.email.subject = m_subjectLine->text();
    output.email.body = m_body->toPlainText();
    output.printer = m_printer->printer();
    query.rowLimit = m_limit->value();
    query.timeoutSeconds = m_timeout->value();
}

void OutputPage::setSubject(const QString &description, const QString &periodPhrase)
{
    m_description = description;
    m_period = periodPhrase;
    refresh();
}

ReportFormat OutputPage::format() const
{
    return m_format->currentData().value<ReportFormat>();
}

void OutputPage::refresh()
{
    const int type = m_type->currentIndex();
    const bool csv = format() == ReportFormat::Csv;
    m_file->setVisible(type == static_cast<int>(OutputKind::File) || type == static_cast<int>(OutputKind::Email));
    m_mail->setVisible(type == static_cast<int>(OutputKind::Email));
    m_printer->setVisible(type == static_cast<int>(OutputKind::Printer));
    m_format->setEnabled(type != static_cast<int>(OutputKind::Screen) && type != static_cast<int>(OutputKind::Printer));
    m_mark->setVisible(csv);
    m_guard->setVisible(csv && type == static_cast<int>(OutputKind::File));
    Query shown;
    store(shown);
    shown.Description = m_description;
    try {
        m_example->setText(tr("Today: %1").arg(exampleFileName(shown, m_period, m_home, m_clock.wallNow())));
    } catch (const RuntimeError &error) {
        m_example->setText(error.description());
    }
}

} // namespace qm
