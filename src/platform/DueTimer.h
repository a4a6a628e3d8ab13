/// \file
/// The wake-up of the scheduler: the seam and its real implementation.
#pragma once

#include "core/Clock.h"

#include <QObject>

namespace qm {

/// Raises Mature once when the wall clock reaches the due time; arming again replaces the pending due time.
class DueTimer : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    virtual void SetDueTime(const WallTime &due) = 0;
Q_SIGNALS:
    void Mature();
};

} // namespace qm
