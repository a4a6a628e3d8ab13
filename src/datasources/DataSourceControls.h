/// \file
/// The controls of the data source editor, made and laid out.
#pragma once

#include "datasources/frmDataSource.h"

namespace qm {

/// Every control by its name. The form owns them; this struct only finds them.
struct frmDataSource::Controls
{
    explicit Controls(QDialog &form);

    QComboBox *cboDataSource;
    QFrame *fraSQL;
    QLabel *lblSQL, *txtSQL, *lblServer, *lblDatabaseName, *lblUserName, *lblPassword;
    QLineEdit *txtServerName, *txtDatabase, *txtUserName, *txtPassword;
    QRadioButton *optConnectionType[2];
    QFrame *frameSpecificUser;
    QFrame *fraOracle;
    QLabel *lblOra, *txtOra, *lblOraServer, *lblOraUser, *lblOraPassword;
    QLineEdit *txtOraServer, *txtOraUser, *txtOraPassword;
    QPushButton *cmdAddNew, *cmdSave, *cmdTest, *cmdOK, *cmdCancel, *cmdHelp;
    QFrame *Frame2;

private:
    QWidget *makeSqlServerGroup();
    QWidget *makeOracleGroup();
};

} // namespace qm
