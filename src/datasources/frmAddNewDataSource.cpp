#include "datasources/frmAddNewDataSource.h"

#include "core/ErrorReporter.h"
#include "core/Globals.h"
#include "core/Prompts.h"
#include "datasources/DataSourceKeys.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QFrame>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace qm {

namespace {
constexpr Procedure kOk{"cmdOK_Click", QT_TRANSLATE_NOOP("qm::Procedure", "Unanticipated error occured in the user interface."),
                        "frmAddNewDataSource.frm"};
} // namespace

frmAddNewDataSource::frmAddNewDataSource(const Globals &globals, ErrorReporter &errors, Prompts &prompts, QWidget *parent)
    : QDialog(parent), m_globals(globals), m_errors(errors), m_prompts(prompts), m_txtDataSource(new QLineEdit),
      m_cboDatabase(new QComboBox), m_cmdOK(new QPushButton(tr("OK"))), m_cmdCancel(new QPushButton(tr("Cancel")))
{
    setObjectName(QStringLiteral("frmAddNewDataSource"));
    setWindowTitle(tr("Add New Data Source"));
    m_txtDataSource->setObjectName(QStringLiteral("txtDataSource"));
    m_txtDataSource->setMinimumWidth(280);
    m_cboDatabase->setObjectName(QStringLiteral("cboDatabase"));
    m_cmdOK->setObjectName(QStringLiteral("cmdOK"));
    m_cmdOK->setDefault(true);
    m_cmdCancel->setObjectName(QStringLiteral("cmdCancel"));

    auto *outer = new QFrame;
    outer->setObjectName(QStringLiteral("Frame1"));
    auto *inner = new QFrame;
    inner->setObjectName(QStringLiteral("Frame2"));
    auto *form = new QFormLayout(inner);
    form->addRow(tr("&Name:"), m_txtDataSource);
    form->addRow(tr("Database &type:"), m_cboDatabase);
    auto *outerLayout = new QVBoxLayout(outer);
    outerLayout->setContentsMargins(0, 0, 0, 0);
    outerLayout->addWidget(inner);
    auto *buttons = new QDialogButtonBox;
    buttons->addButton(m_cmdOK, QDialogButtonBox::ActionRole);
    buttons->addButton(m_cmdCancel, QDialogButtonBox::ActionRole);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(outer);
    layout->addWidget(buttons);
    connect(m_cmdOK, &QPushButton::clicked, this, &frmAddNewDataSource::cmdOK_Click);
    connect(m_cmdCancel, &QPushButton::clicked, this, &frmAddNewDataSource::cmdCancel_Click);
}

void frmAddNewDataSource::Form_Load()
{
    m_txtDataSource->clear();
    m_cboDatabase->clear();
    m_cboDatabase->addItem(QString::fromLatin1(kSqlServerLabel));
    m_cboDatabase->addItem(QString::fromLatin1(kOracleLabel));
    m_cboDatabase->setCurrentIndex(-1);
    m_cboDatabase->setCurrentIndex(m_cboDatabase->currentIndex() + 1);
    m_txtDataSource->setFocus();
}

void frmAddNewDataSource::showModal()
{
    trapSilently([&] { Form_Load(); });
    exec();
}

void frmAddNewDataSource::cmdOK_Click()
{
    trap(m_errors, kOk, [&] {
        const QString name = m_txtDataSource->text();
        const QString title = QString::fromLatin1(kApplicationTitle);
        if (name.isEmpty()) {
            m_prompts.messageBox(tr("Please enter a name for the new datasource."), box::ok | box::exclamation, title);
            m_txtDataSource->setFocus();
            return;
        }
        const QString type = m_cboDatabase->currentText();
        QString key = name;
        if (type == QLatin1StringView(kSqlServerLabel))
            key = QLatin1StringView(kSqlServerPrefix) + name + QStringLiteral(".dsf");
        else if (type == QLatin1StringView(kOracleLabel))
            key = QLatin1StringView(kOraclePrefix) + name + QStringLiteral(".dsf");
        if (m_globals.gdicDataSources.Exists(key)) {
            m_prompts.messageBox(tr("This data source already exists.Please choose another name."), box::ok, title);
            return;
        }
        m_type = type;
        m_name = key;
        m_isOk = true;
        done(Accepted);
    });
}

void frmAddNewDataSource::cmdCancel_Click()
{
    trapSilently([&] {
        m_isOk = false;
        done(Rejected);
    });
}

void frmAddNewDataSource::closeEvent(QCloseEvent *event)
{
    event->accept(); // not QDialog's: that would be the Cancel button
}

} // namespace qm
