#include "reporting/common/VisibleText.h"

#include "core/Utf8.h"

#include <algorithm>

namespace qm {

namespace {

bool isPlain(QChar character)
{
    const char16_t unit = character.unicode();
    const bool mayBeTag = unit == QChar::highSurrogate(0xE0000);
    return unit >= 0x20 && !mayBeTag && !utf8::isSeparator(unit) && !utf8::isHidden(unit);
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
        } else if (unit == u'\n' || utf8::isSeparator(unit) || (unit == u'\r' && at + 1 < text.size() && text[at + 1] == u'\n')) {
            at += unit == u'\r' ? 1 : 0;
            shown += keep ? QChar(u'\n') : QChar(u'\u21B5');
        } else if (unit == u'\t') {
            shown += keep ? QChar(u'\t') : QChar(u'\u21E5');
        } else {
            const bool pair = text[at].isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
            const char32_t c = pair ? QChar::surrogateToUcs4(text[at], text[at + 1]) : unit;
            // A carriage return by itself is no line break here and is shown like the controls.
            const bool hidden = utf8::isHidden(c) || c == U'\r';
            shown += hidden ? QString::fromStdString(utf8::visible(c)) : text.mid(at, pair ? 2 : 1).toString();
            at += pair ? 1 : 0;
        }
    }
    return shown;
}

} // namespace qm
