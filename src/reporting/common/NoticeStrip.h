/// \file
/// A line with a warning sign that tells the operator something about the window it stands in.
#pragma once

#include <QWidget>

class QLabel;
class QToolButton;

namespace qm {

/// Hidden while it has nothing to say. Text is shown plainly, hidden characters made visible.
class NoticeStrip final : public QWidget
{
    Q_OBJECT
public:
    /// \p labelName: object name of the text's label.
    explicit NoticeStrip(const char *labelName, QWidget *parent = nullptr);

    /// An empty \p text hides the strip. \p action: words of a button beside the text; empty for none.
    void show(const QString &text, const QString &action = {});
    [[nodiscard]] QString text() const;

Q_SIGNALS:
    void actionClicked();

private:
    QLabel *m_text;
    QToolButton *m_action;
};

} // namespace qm
