/// \file
/// Turns a cell into the text that a reader sees, by the column's format. Shared by HTML, PDF and the viewer.
#pragma once

#include "documents/CellExtras.h"
#include "documents/NumberText.h"
#include "documents/ReportColumn.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace qm {

/// A column's format, worked out once per report so that formatting a cell is cheap.
class CellFormatter final
{
public:
    /// What a format makes of a cell. XLSX turns it into a format of its own. Words: as Plain, but for the texts that stand in place of
    /// values.
    enum class Style : std::uint8_t { Plain, Number, Percent, Bytes, Date, Time, DateTime, DateTimeMs, Boolean, Duration, Local, Words };

    explicit CellFormatter(const ReportColumn &column);

    /// Appends the shown text of \p value to \p out: the column's word or text for NULL where it has one; nothing for NULL, "0x" +
    /// hexadecimal (cut, with the size) for blobs, "NaN", "Infinity" for those, text that does not suit the format unchanged. Output is
    /// valid UTF-8 without NUL (U+2400 stands for it); other controls stay, for the caller to show in its own way.
    void append(const Value &value, std::string &out) const;

    [[nodiscard]] bool hasRules() const { return m_extras && m_extras->haveRules(); }
    /// How the cell of \p value stands out; ask only where hasRules().
    [[nodiscard]] Emphasis emphasisOf(const Value &value) const { return hasRules() ? m_extras->emphasisOf(value) : Emphasis::None; }
    /// Whether some values are shown as texts that have nothing of them: words, or a text for NULL.
    [[nodiscard]] bool hasTexts() const { return m_extras && m_extras->haveTexts(); }

    [[nodiscard]] Style style() const { return m_style; }
    [[nodiscard]] const numbers::Pattern &pattern() const { return m_pattern; }
    [[nodiscard]] const std::string &prefix() const { return m_prefix; }
    [[nodiscard]] const std::string &suffix() const { return m_suffix; }

private:
    void readPattern(const std::string &format);
    void appendNumber(const Value &value, std::string &out) const;
    [[nodiscard]] bool appendFormattedText(std::string_view text, std::string &out) const;

    Style m_style = Style::Plain;
    numbers::Pattern m_pattern;
    std::string m_prefix, m_suffix;
    std::shared_ptr<const CellExtras> m_extras; ///< null: none, as for most columns
};

/// The formats that have a name, as a layout writes them.
[[nodiscard]] std::span<const std::string_view> formatNames();
/// Whether \p format is empty, one of them, or a number pattern.
[[nodiscard]] bool isFormat(const std::string &format);

} // namespace qm
