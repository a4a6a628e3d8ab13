/// \file
/// The About box.
#pragma once

#include <QDialog>

namespace qm {

/// Title, the framework's version, service pack and build as "Packages.ini" states them, and the licences of what the program is built
/// from.
class frmAbout final : public QDialog
{
    Q_OBJECT
public:
    /// \p installPath ends with a separator.
    explicit frmAbout(const QString &installPath, QWidget *parent = nullptr);
};

} // namespace qm
