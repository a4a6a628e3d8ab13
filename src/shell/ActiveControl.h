/// \file
/// Which of the window's three views is the active one.
#pragma once

#include <QHash>
#include <QObject>

class QWidget;

namespace qm {

/// The last of tree, list and schedule table that held the keyboard focus. Menus, bars and dialogs do not change it; an editor inside a
/// view counts as the view.
class ActiveControl final : public QObject
{
    Q_OBJECT
public:
    enum class View { None, TreeView, ListView, Datatbl };

    explicit ActiveControl(QObject *parent = nullptr);
    void watch(const QWidget &widget, View view) { m_views.insert(&widget, view); }
    [[nodiscard]] View current() const { return m_current; }

Q_SIGNALS:
    void changed();

private:
    void focusChanged(QWidget *now);

    QHash<const QWidget *, View> m_views;
    View m_current = View::None;
};

} // namespace qm
