/// \file
/// Which of the window's three views is the active one.
#pragma once

#include <QHash>
#include <QObject>

class QWidget;

namespace qm {

/// The last of tree, list and schedule table that held the keyboard focus. Menus, bars and dialogs do not change it; an editor inside a
/// view counts as the view. The selections of the other views are shown dimmed, so that it can be seen what a command acts on.
class ActiveControl final : public QObject
{
    Q_OBJECT
public:
    enum class View { None, TreeView, ListView, Datatbl };

    explicit ActiveControl(QObject *parent = nullptr);
    void watch(QWidget &widget, View view) { m_views.insert(&widget, view); }
    /// Before the views go.
    void unwatchAll() { m_views.clear(); }
    [[nodiscard]] View current() const { return m_current; }

Q_SIGNALS:
    void changed();

protected:
    /// The dimmed colours follow the desktop's.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void focusChanged(QWidget *now);
    void dimOthers() const;

    QHash<QWidget *, View> m_views;
    View m_current = View::None;
};

} // namespace qm
