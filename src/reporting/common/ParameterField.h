/// \file
/// One entry field for a report parameter, by its type.
#pragma once

#include "core/Clock.h"
#include "framework/Query.h"

#include <QWidget>

#include <functional>

class QLabel;

namespace qm {

/// A field that suits the parameter's type, with the reason below it while its value is not usable.
class ParameterField final : public QWidget
{
    Q_OBJECT
public:
    ParameterField(const QueryParameter &parameter, const Clock &clock, QWidget *parent = nullptr);

    void setValue(const QString &value) { m_set(value); }
    [[nodiscard]] QString value() const { return m_get(); }
    /// Whether the value can be bound; shows the reason when it cannot.
    [[nodiscard]] bool check();
    [[nodiscard]] const QueryParameter &parameter() const { return m_parameter; }

private:
    QWidget *makeEditor();
    QWidget *makeLineEdit();
    QWidget *makeDateEdit();
    QWidget *makeTimeEdit();
    QWidget *makeBox();
    QWidget *makeChoice();

    QueryParameter m_parameter;
    const Clock &m_clock;
    std::function<void(const QString &)> m_set;
    std::function<QString()> m_get;
    QLabel *m_reason;
};

} // namespace qm
