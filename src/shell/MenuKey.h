/// \file
/// The pop-up menus for keyboards without a menu key.
#pragma once

#include <QObject>

namespace qm {

/// Lets Shift+F10 do what the menu key does, in every window and on every system.
class MenuKey final : public QObject
{
    Q_OBJECT
public:
    explicit MenuKey(QObject *parent = nullptr);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};

} // namespace qm
