/// \file
/// What the views of the catalogue share about keys and buttons.
#pragma once

class QKeyEvent;
class QMouseEvent;

namespace qm {

/// Key codes of the views' key events.
namespace keycode {
inline constexpr int none = 0, enter = 13, del = 46;
} // namespace keycode

/// The code of Enter (on either block) or Delete without Shift, Ctrl, Alt or Meta; keycode::none for any other key.
[[nodiscard]] int plainKeyCode(const QKeyEvent &event);
/// \p event without Ctrl and Shift: a click never takes the one selected item out of the selection.
[[nodiscard]] QMouseEvent withoutModifiers(const QMouseEvent &event);

} // namespace qm
