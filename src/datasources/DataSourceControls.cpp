#include "datasources/DataSourceControls.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace qm {

namespace {

template <class Widget>
Widget *named(Widget *widget, const char *name)
{
    widget->setObjectName(QLatin1StringView(name));
    return widget;
}

QLabel *heading(const QString &text, const char *name)
{
    QLabel *label = named(new QLabel(text), name);
    QFont bold = label->font();
    bold.setBold(true);
    label->setFont(bold);
    return label;
}

QLabel *note(const QString &text, const char *name)
{
    QLabel *label = named(new QLabel(text), name);
    label->setWordWrap(true);
    return label;
}

QLabel *caption(const QString &text, const char *name, QLineEdit *field)
{
    QLabel *label = named(new QLabel(text), name);
    label->setBuddy(field);
    return label;
}

QFrame *framed(const char *name)
{
    QFrame *frame = named(new QFrame, name);
    frame->setFrameShape(QFrame::StyledPanel);
    return frame;
}

QLineEdit *password(const char *name)
{
    QLineEdit *field = named(new QLineEdit, name);
    field->setEchoMode(QLineEdit::Password);
    return field;
}

} // namespace

frmDataSource::Controls::Controls(QDialog &form)
{
    cboDataSource = named(new QComboBox, "cboDataSource");
    cboDataSource->setEditable(true);
    cboDataSource->setInsertPolicy(QComboBox::NoInsert);
    cboDataSource->setCompleter(nullptr);
    cboDataSource->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    cboDataSource->setMinimumWidth(260);
    cmdAddNew = named(new QPushButton(frmDataSource::tr("&Add New...")), "cmdAddNew");
    cmdSave = named(new QPushButton(frmDataSource::tr("&Save")), "cmdSave");
    cmdTest = named(new QPushButton(frmDataSource::tr("&Test Connection")), "cmdTest");
    cmdOK = named(new QPushButton(frmDataSource::tr("OK")), "cmdOK");
    cmdCancel = named(new QPushButton(frmDataSource::tr("Cancel")), "cmdCancel");
    cmdHelp = named(new QPushButton(frmDataSource::tr("&Help")), "cmdHelp");
    cmdOK->setDefault(true);

    Frame2 = named(new QFrame, "Frame2");
    auto *chooser = new QHBoxLayout(Frame2);
    chooser->setContentsMargins(0, 0, 0, 0);
    auto *label = new QLabel(frmDataSource::tr("&Data source:"));
    label->setBuddy(cboDataSource);
    chooser->addWidget(label);
    chooser->addWidget(cboDataSource, 1);
    chooser->addWidget(cmdAddNew);

    auto *buttons = new QDialogButtonBox;
    for (QPushButton *button : {cmdSave, cmdTest})
        buttons->addButton(button, QDialogButtonBox::ResetRole);
    for (QPushButton *button : {cmdOK, cmdCancel})
        buttons->addButton(button, QDialogButtonBox::ActionRole);
    buttons->addButton(cmdHelp, QDialogButtonBox::HelpRole);

    auto *layout = new QVBoxLayout(&form);
    layout->addWidget(Frame2);
    layout->addWidget(makeSqlServerGroup());
    layout->addWidget(makeOracleGroup());
    layout->addWidget(buttons);
}

QWidget *frmDataSource::Controls::makeSqlServerGroup()
{
    fraSQL = framed("fraSQL");
    lblSQL = heading(frmDataSource::tr("Microsoft SQL Server"), "lblSQL");
    txtSQL = note(frmDataSource::tr("Server and database, and how to log on."), "txtSQL");
    txtServerName = named(new QLineEdit, "txtServerName");
    txtDatabase = named(new QLineEdit, "txtDatabase");
    txtUserName = named(new QLineEdit, "txtUserName");
    txtPassword = password("txtPassword");
    lblServer = caption(frmDataSource::tr("Ser&ver:"), "lblServer", txtServerName);
    lblDatabaseName = caption(frmDataSource::tr("Data&base:"), "lblDatabaseName", txtDatabase);
    lblUserName = caption(frmDataSource::tr("&User name:"), "lblUserName", txtUserName);
    lblPassword = caption(frmDataSource::tr("&Password:"), "lblPassword", txtPassword);
    optConnectionType[0] = named(new QRadioButton(frmDataSource::tr("&Integrated security")), "optConnectionType0");
    optConnectionType[1] = named(new QRadioButton(frmDataSource::tr("Specific us&er")), "optConnectionType1");
    optConnectionType[0]->setChecked(true);

    frameSpecificUser = framed("frameSpecificUser");
    auto *user = new QFormLayout(frameSpecificUser);
    user->addRow(lblUserName, txtUserName);
    user->addRow(lblPassword, txtPassword);
    auto *form = new QFormLayout(fraSQL);
    form->addRow(lblSQL);
    form->addRow(txtSQL);
    form->addRow(lblServer, txtServerName);
    form->addRow(lblDatabaseName, txtDatabase);
    form->addRow(optConnectionType[0]);
    form->addRow(optConnectionType[1]);
    form->addRow(frameSpecificUser);
    return fraSQL;
}

QWidget *frmDataSource::Controls::makeOracleGroup()
{
    fraOracle = framed("fraOracle");
    lblOra = heading(frmDataSource::tr("Oracle"), "lblOra");
    txtOra = note(frmDataSource::tr("Service name, user and password."), "txtOra");
    txtOraServer = named(new QLineEdit, "txtOraServer");
    txtOraUser = named(new QLineEdit, "txtOraUser");
    txtOraPassword = password("txtOraPassword");
    lblOraServer = caption(frmDataSource::tr("Service &name:"), "lblOraServer", txtOraServer);
    lblOraUser = caption(frmDataSource::tr("Use&r:"), "lblOraUser", txtOraUser);
    lblOraPassword = caption(frmDataSource::tr("Pass&word:"), "lblOraPassword", txtOraPassword);
    auto *form = new QFormLayout(fraOracle);
    form->addRow(lblOra);
    form->addRow(txtOra);
    form->addRow(lblOraServer, txtOraServer);
    form->addRow(lblOraUser, txtOraUser);
    form->addRow(lblOraPassword, txtOraPassword);
    return fraOracle;
}

} // namespace qm
