/// \file
/// A page of the help and the bar that finds text on it.
#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;
class QToolBar;

namespace qm {

class HelpText;

/// The find bar stands below the page while it is asked for.
class HelpPage final : public QWidget
{
    Q_OBJECT
public:
    explicit HelpPage(QWidget *parent = nullptr);

    [[nodiscard]] HelpText &text() const { return *m_text; }
    void showFindBar();
    /// \returns whether it was shown.
    bool hideFindBar();
    /// Goes to the next place of the text in the find bar, round at the end; with nothing to find it shows the bar.
    void findAgain(bool backward);
    void find(const QString &word);

private:
    void buildFindBar();

    HelpText *m_text;
    QToolBar *m_findBar;
    QLineEdit *m_findText;
    QLabel *m_findResult;
};

} // namespace qm
