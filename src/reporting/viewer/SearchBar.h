/// \file
/// The viewer's search line.
#pragma once

#include "reporting/viewer/SpoolJobs.h"

#include <QWidget>

class QComboBox;
class QLabel;
class QLineEdit;
class QTimer;
class QToolButton;

namespace qm {

/// Text, column, letter case, next and previous, "only matching rows", and what was found. Knows nothing of rows.
class SearchBar final : public QWidget
{
    Q_OBJECT
public:
    explicit SearchBar(const std::vector<ReportColumn> &columns, QWidget *parent = nullptr);

    [[nodiscard]] SearchTerms terms() const;
    [[nodiscard]] bool onlyMatches() const;
    void focusText();
    void clear();
    /// \p count hits, of which the current row is number \p current (0: none).
    void showCount(qint64 count, qint64 current);
    void showText(const QString &text);

Q_SIGNALS:
    void termsChanged();
    void onlyMatchesChanged();
    void step(int direction); ///< 1 next, -1 previous

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QLineEdit *m_text;
    QComboBox *m_column;
    QToolButton *m_case;
    QToolButton *m_only;
    QToolButton *m_previous;
    QToolButton *m_next;
    QLabel *m_found;
    QTimer *m_delay;
};

} // namespace qm
