#include "reporting/ui/VisibleText.h"

#include <algorithm>

namespace qm {

namespace {

bool hidesOrReorders(char16_t unit)
{
    return (unit >= 0x80 && unit <= 0x9F) || unit == 0x00AD || unit == 0x061C || unit == 0x180E || unit == 0x200B || unit == 0x200E ||
           unit == 0x200F || (unit >= 0x202A && unit <= 0x202E) || (unit >= 0x2060 && unit <= 0x206F) || unit == 0xFEFF ||
           (unit >= 0xFFF9 && unit <= 0xFFFB);
}

bool isPlain(QChar character)
{
    const char16_t unit = character.unicode();
    return unit >= 0x20 && unit != 0x7F && unit != 0x2028 && unit != 0x2029 && !hidesOrReorders(unit);
}

} // namespace

QString visibleText(QStringView text, LineBreaks breaks)
{
    if (std::all_of(text.begin(), text.end(), isPlain))
        return text.toString();
    const bool keep = breaks == LineBreaks::Kept;
    QString shown;
    shown.reserve(text.size() + 16);
    for (qsizetype at = 0; at < text.size(); ++at) {
        const char16_t unit = text[at].unicode();
        if (isPlain(text[at])) {
            shown += text[at];
        } else if (unit == u'\n' || unit == 0x2028 || unit == 0x2029 || (unit == u'\r' && at + 1 < text.size() && text[at + 1] == u'\n')) {
            at += unit == u'\r' ? 1 : 0;
            shown += keep ? QChar(u'\n') : QChar(u'\u21B5');
        } else if (unit == u'\t') {
            shown += keep ? QChar(u'\t') : QChar(u'\u21E5');
        } else if (unit < 0x20) {
            shown += QChar(static_cast<char16_t>(0x2400 + unit));
        } else if (unit == 0x7F) {
            shown += QChar(u'\u2421');
        } else {
            shown += QStringLiteral("[U+%1]").arg(QString::number(unit, 16).toUpper().rightJustified(4, u'0'));
        }
    }
    return shown;
}

} // namespace qm
