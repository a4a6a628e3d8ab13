#include "platform/EscapedText.h"

#include "core/Utf8.h"

namespace qm {

namespace {

/// Line ends and tabs act as well.
bool isHarmful(char32_t c)
{
    return c < U' ' || utf8::isHidden(c) || utf8::isSeparator(c);
}

QString escape(char32_t c)
{
    switch (c) {
    case U'\n':
        return QStringLiteral("\\n");
    case U'\r':
        return QStringLiteral("\\r");
    case U'\t':
        return QStringLiteral("\\t");
    default:
        return (c > 0xFFFF ? QStringLiteral("\\U%1") : QStringLiteral("\\u%1"))
            .arg(static_cast<uint>(c), c > 0xFFFF ? 8 : 4, 16, QLatin1Char('0'));
    }
}

QString escapedBut(const QString &text, QStringView kept)
{
    QString shown;
    shown.reserve(text.size());
    for (qsizetype at = 0, units = 1; at < text.size(); at += units) {
        const bool isPair = text[at].isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
        units = isPair ? 2 : 1;
        const char32_t c = isPair ? QChar::surrogateToUcs4(text[at], text[at + 1]) : text[at].unicode();
        if (isHarmful(c) && !kept.contains(text[at]))
            shown += escape(c);
        else
            shown += QStringView(text).sliced(at, units);
    }
    return shown;
}

} // namespace

QString escapedText(const QString &text)
{
    return escapedBut(text, {});
}

QString terminalText(const QString &text)
{
    return escapedBut(text, u"\n\t");
}

} // namespace qm
