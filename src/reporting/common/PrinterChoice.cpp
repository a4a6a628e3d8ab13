#include "reporting/common/PrinterChoice.h"

#include "core/PlainTip.h"
#include "reporting/common/BackgroundTask.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSpinBox>

#include <algorithm>

namespace qm {

namespace {

constexpr int kMostCopies = 999;

} // namespace

PrinterChoice::PrinterChoice(QWidget *parent)
    : QGroupBox(tr("Printer"), parent), m_name(new QComboBox(this)), m_copies(new QSpinBox(this)), m_hint(new QLabel(this))
{
    m_name->setEditable(true);
    m_name->setInsertPolicy(QComboBox::NoInsert);
    m_name->setObjectName(QStringLiteral("printerName"));
    m_name->lineEdit()->setPlaceholderText(tr("the default printer"));
    m_name->addItem(QString());
    m_copies->setRange(1, kMostCopies);
    m_copies->setObjectName(QStringLiteral("printerCopies"));
    m_hint->setTextFormat(Qt::PlainText);
    m_hint->setWordWrap(true);
    m_hint->setObjectName(QStringLiteral("printerHint"));
    m_hint->setForegroundRole(QPalette::PlaceholderText);
    auto form = new QFormLayout(this);
    form->addRow(tr("Name:"), m_name);
    form->addRow(tr("Copies:"), m_copies);
    form->addRow(QString(), m_hint);
    connect(m_name, &QComboBox::editTextChanged, this, [this] {
        refreshHint();
        Q_EMIT changed();
    });
    connect(m_copies, &QSpinBox::valueChanged, this, &PrinterChoice::changed);
}

PrinterChoice::~PrinterChoice() = default;

void PrinterChoice::setPrinter(const PrinterOutput &printer)
{
    m_name->setEditText(printer.name);
    m_copies->setValue(printer.copies);
}

PrinterOutput PrinterChoice::printer() const
{
    return {m_name->currentText().trimmed(), m_copies->value()};
}

void PrinterChoice::showEvent(QShowEvent *event)
{
    QGroupBox::showEvent(event);
    if (m_asking)
        return;
    m_hint->setText(tr("Looking for printers…"));
    m_found = std::make_shared<PrintQueueList>();
    m_asking = std::make_unique<BackgroundTask>([found = m_found](CancelFlag &) { *found = printQueues(); });
    connect(m_asking.get(), &BackgroundTask::finished, this, &PrinterChoice::showQueues);
    m_asking->start();
}

void PrinterChoice::showQueues()
{
    const QString chosen = m_name->currentText();
    QString usual;
    {
        const QSignalBlocker quiet(m_name);
        for (const PrintQueue &queue : m_found->queues) {
            m_name->addItem(queue.name);
            m_name->setItemData(m_name->count() - 1, plainTip(queue.description.isEmpty() ? queue.name : queue.description),
                                Qt::ToolTipRole);
            if (queue.isDefault)
                usual = queue.name;
        }
        m_name->setEditText(chosen);
    }
    if (!usual.isEmpty())
        m_name->lineEdit()->setPlaceholderText(tr("the default printer (%1)").arg(usual));
    m_isKnown = true;
    refreshHint();
}

void PrinterChoice::refreshHint()
{
    if (!m_isKnown)
        return;
    const QString name = printer().name;
    const auto &queues = m_found->queues;
    const bool isHere = std::any_of(queues.begin(), queues.end(),
                                    [&](const PrintQueue &queue) { return name.isEmpty() ? queue.isDefault : queue.name == name; });
    if (!m_found->problem.isEmpty())
        m_hint->setText(m_found->problem);
    else if (isHere)
        m_hint->setText(tr("Page size and orientation are those of the layout."));
    else if (queues.empty())
        m_hint->setText(tr("This computer has no printers."));
    else
        m_hint->setText(name.isEmpty() ? tr("There is no default printer; choose one.") : tr("This computer has no printer of that name."));
}

} // namespace qm
