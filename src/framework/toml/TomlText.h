/// \file
/// How texts are spelled in the program's TOML files, and how whole trees are written.
///
/// TOML texts are Unicode, but a text of the program may hold any UTF-16 code units (a file name, a pasted fragment). A code unit that is
/// half of a pair without its other half is written as U+FDD0, a code point that Unicode keeps out of texts, and four hexadecimal digits;
/// U+FDD0 itself is written the same way. Everything else is written as it is or with TOML's own escapes.
#pragma once

#include "framework/toml/TomlNode.h"

#include <QByteArray>
#include <QStringView>

#include <string_view>

namespace qm::toml_text {

/// Introduces a UTF-16 code unit that has no place in Unicode text.
inline constexpr char16_t kLoneUnit = 0xFDD0;

/// Appends \p text as a quoted one-line TOML string.
void appendQuoted(QByteArray &out, QStringView text);
/// Appends \p text as a TOML string over several lines where it has several lines and is readable that way; else as appendQuoted().
void appendReadable(QByteArray &out, const QString &text);
/// Appends \p key bare where TOML allows, else quoted.
void appendKey(QByteArray &out, QStringView key);
/// Appends a value on one line (tables inline); texts of several lines as appendReadable() unless \p inlineOnly.
void appendValue(QByteArray &out, const TomlNode &value, bool inlineOnly = false);
/// The whole document: each table's plain values, then its tables, then its lists of tables.
[[nodiscard]] QByteArray document(const TomlNode &root);

/// A string's UTF-8 as the parser gave it, back to the program's text (byte-order marks inside texts stay).
[[nodiscard]] QString fromUtf8(std::string_view utf8);

/// Offset of the first byte that is not UTF-8, or -1.
[[nodiscard]] qsizetype firstBadUtf8(std::string_view bytes);

} // namespace qm::toml_text
