/// \file
/// Cells as they are shown in a PDF file.
#pragma once

#include "documents/CellFormat.h"

#include <string>

namespace qm::pdf {

inline constexpr std::string_view kMinus = "\u2212", kDash = "\u2013";

/// Appends what the formatter makes of \p value, with a true minus before negative numbers and a dash for NULL.
/// \param numeric  texts are numbers too. \returns whether it is NULL's dash.
inline bool appendShown(const Value &value, const CellFormatter &formatter, std::string &out, bool numeric = false)
{
    const std::size_t begin = out.size();
    formatter.append(value, out);
    const bool negative = (value.kind == Value::Kind::Integer && value.integer < 0) ||
                          (value.kind == Value::Kind::Real && value.real < 0) || (numeric && value.size > 0 && value.data[0] == '-');
    if (negative) {
        for (std::size_t at = begin; at + 1 < out.size(); ++at)
            if (out[at] == '-' && (out[at + 1] == 'I' || out[at + 1] == '.' || (out[at + 1] >= '0' && out[at + 1] <= '9'))) {
                out.replace(at, 1, kMinus);
                break;
            }
    } else if (value.isNull() && out.size() == begin) {
        out += kDash;
        return true;
    }
    return false;
}

/// A text that is not wrapped is one line: its line breaks and tabs become blanks. \p from: where it begins.
void joinLines(std::string &text, std::size_t from);

} // namespace qm::pdf
