/// \file
/// What the operator is at, which the window's commands, the schedule and the program's end must not disturb.
#pragma once

namespace qm {

/// Asked anew each time.
class WorkAtHand
{
public:
    /// Whether a report is being made that keeps the operator waiting.
    [[nodiscard]] virtual bool isProducingRows() const = 0;
    /// Whether a package's editor is open that has no window of this program.
    [[nodiscard]] virtual bool isEditing() const = 0;

protected:
    WorkAtHand() = default;
    WorkAtHand(const WorkAtHand &) = default;
    WorkAtHand &operator=(const WorkAtHand &) = default;
    ~WorkAtHand() = default;
};

} // namespace qm
