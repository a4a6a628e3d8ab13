/// \file
/// Chooses a report's period by phrase or by dates.
#pragma once

#include "core/Clock.h"

#include <QDate>
#include <QWidget>

class QComboBox;
class QDateEdit;
class QLabel;
class QSpinBox;

namespace qm {

/// A list of the usual periods, "last N ..." and, where allowed, two dates; below it, what the choice means today.
class PeriodPicker final : public QWidget
{
    Q_OBJECT
public:
    /// Whether two dates may be chosen (a query file stores a phrase only).
    enum class Dates { Offered, NotOffered };

    PeriodPicker(const Clock &clock, Dates dates, QWidget *parent = nullptr);

    /// Shows \p phrase; one that is not in the list is added to it.
    void setPhrase(const QString &phrase);
    /// The phrase; empty when dates are chosen.
    [[nodiscard]] QString phrase() const;
    [[nodiscard]] bool hasDates() const;
    /// Whether anything uses the period; the line below says so when nothing does.
    void setTaken(bool taken);
    [[nodiscard]] QDate from() const;
    [[nodiscard]] QDate to() const;

Q_SIGNALS:
    void changed();

private:
    void refresh();
    void showMeaning();

    const Clock &m_clock;
    bool m_taken = true;
    QComboBox *m_choice;
    QSpinBox *m_count;
    QComboBox *m_unit;
    QDateEdit *m_from;
    QDateEdit *m_to;
    QLabel *m_between;
    QLabel *m_meaning;
};

} // namespace qm
