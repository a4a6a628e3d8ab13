#include "core/RuntimeError.h"
#include "platform/Files.h"
#include "platform/Registry.h"

#include <QStringDecoder>

namespace qm {

namespace {

/// Text from before UTF-8.
QString decodedOld(const QByteArray &bytes)
{
#ifdef _WIN32
    return QString::fromLocal8Bit(bytes); // the machine's code page, as its editors wrote it
#else
    return QString::fromLatin1(bytes);
#endif
}

/// The text of an INI file: by its byte-order mark, else UTF-8, else the older way.
QString decoded(const QByteArray &bytes)
{
    const auto encoding = QStringConverter::encodingForData(bytes);
    QStringDecoder decoder(encoding.value_or(QStringConverter::Utf8));
    const QString text = decoder(bytes);
    return decoder.hasError() && !encoding ? decodedOld(bytes) : text;
}

/// The lines of \p text without their ends (LF, CR LF or CR).
QStringList linesOf(QString text)
{
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(u'\r', u'\n');
    return text.split(u'\n');
}

/// One line taken apart. Comments and empty lines are neither a section nor a key.
struct Line
{
    QString section; ///< null unless the line opens a section
    QString key;     ///< null unless the line holds a value
    QString value;
};

QString unquoted(const QString &value)
{
    const bool isQuoted = value.size() >= 2 && value.front() == value.back() && (value.front() == u'"' || value.front() == u'\'');
    return isQuoted ? value.sliced(1, value.size() - 2) : value;
}

Line parsed(const QString &raw)
{
    const QString line = raw.trimmed();
    if (line.startsWith(u'[')) {
        const auto end = line.lastIndexOf(u']');
        return {end < 0 ? line.mid(1) : line.sliced(1, end - 1), {}, {}};
    }
    const auto equals = line.indexOf(u'=');
    if (line.startsWith(u';') || line.startsWith(u'#') || equals < 0)
        return {};
    const QString value = unquoted(line.mid(equals + 1).trimmed());
    return {{}, line.first(equals).trimmed(), value.isNull() ? QStringLiteral("") : value};
}

bool sameName(const QString &a, const QString &b)
{
    return a.trimmed().compare(b.trimmed(), Qt::CaseInsensitive) == 0;
}

QStringList profileLines(const QString &path)
{
    return linesOf(files::fileExists(path) ? decoded(files::readAll(path)) : QString());
}

/// \p value so that reading gives it back: in quotes where blanks or quotes stand at its ends.
QString quotedIfNeeded(const QString &value)
{
    return value == unquoted(value.trimmed()) ? value : u'"' + value + u'"';
}

} // namespace

std::optional<QString> privateProfileString(const QString &path, const QString &section, const QString &key)
{
    bool inSection = false;
    for (const QString &raw : profileLines(path)) {
        const Line line = parsed(raw);
        if (!line.section.isNull()) {
            if (inSection)
                return std::nullopt; // the first section of that name is the one that counts
            inSection = sameName(line.section, section);
        } else if (inSection && !line.key.isNull() && sameName(line.key, key)) {
            return line.value;
        }
    }
    return std::nullopt;
}

QStringList privateProfileSections(const QString &path)
{
    QStringList sections;
    for (const QString &raw : profileLines(path))
        if (const Line line = parsed(raw); !line.section.isNull())
            sections.append(line.section);
    return sections;
}

void setPrivateProfileString(const QString &path, const QString &section, const QString &key, const QString &value)
{
    for (const QString &part : {section, key, value})
        if (part.contains(u'\n') || part.contains(u'\r'))
            raise(err::invalidProcedureCall, QStringLiteral("%1: a value of an INI file cannot hold a line break").arg(path));
    QStringList lines = profileLines(path);
    while (!lines.isEmpty() && lines.back().trimmed().isEmpty())
        lines.removeLast();
    const QString entry = key + u'=' + quotedIfNeeded(value);
    qsizetype insertAt = -1; // behind the last line of the section that holds something
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const Line line = parsed(lines[i]);
        if (!line.section.isNull()) {
            if (insertAt >= 0)
                break;
            insertAt = sameName(line.section, section) ? i + 1 : -1;
        } else if (insertAt >= 0 && !line.key.isNull()) {
            insertAt = i + 1;
            if (sameName(line.key, key)) {
                lines.removeAt(i);
                insertAt = i;
                break;
            }
        }
    }
    if (insertAt < 0) {
        if (!lines.isEmpty())
            lines.append(QString());
        lines.append(u'[' + section + u']');
        insertAt = lines.size();
    }
    lines.insert(insertAt, entry);
    files::saveAtomically(path, (lines.join(u'\n') + u'\n').toUtf8());
}

} // namespace qm
