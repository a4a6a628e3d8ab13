#include "importing/JournalReader.h"

#include "importing/ImportError.h"
#include "importing/LogLevels.h"
#include "importing/UnixAccess.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace qm {

namespace {

/// A list of byte values as the text they spell; nothing when it is no such list.
std::optional<QString> bytesText(const QJsonArray &values)
{
    QByteArray bytes;
    bytes.reserve(values.size());
    for (const QJsonValue &value : values) {
        const int byte = value.toInt(-1);
        if (byte < 0 || byte > 255)
            return std::nullopt;
        bytes.append(static_cast<char>(byte));
    }
    return QString::fromUtf8(bytes);
}

QString fieldText(const QJsonValue &value)
{
    if (value.isString())
        return value.toString();
    if (value.isDouble())
        return QString::number(value.toInteger());
    if (!value.isArray())
        return {};
    const QJsonArray values = value.toArray();
    if (const std::optional<QString> bytes = bytesText(values))
        return *bytes;
    QStringList parts;
    for (const QJsonValue &part : values)
        parts.append(fieldText(part));
    return parts.join(u'\n');
}

class Entry
{
public:
    explicit Entry(QJsonObject object) : m_object(std::move(object)) {}

    [[nodiscard]] QString text(const char *name) const
    {
        QString value = fieldText(m_object.value(QLatin1String(name)));
        value.replace(QChar(u'\0'), QChar(QChar::ReplacementCharacter));
        return value;
    }
    [[nodiscard]] std::optional<qint64> number(const char *name) const
    {
        bool whole = false;
        const qint64 value = text(name).toLongLong(&whole);
        return whole ? std::optional(value) : std::nullopt;
    }
    /// The first of two fields that has a text.
    [[nodiscard]] std::string firstText(const char *name, const char *otherwise) const
    {
        const QString value = text(name);
        return (value.isEmpty() ? text(otherwise) : value).toStdString();
    }

private:
    QJsonObject m_object;
};

void fillRecord(const Entry &entry, const std::string &dataSource, EventRecord &record)
{
    constexpr int kInformation = 6;
    const auto microseconds = entry.number("__REALTIME_TIMESTAMP");
    constexpr qint64 kLatest = 253'402'300'799'999'999; // the end of the year 9999
    if (!microseconds || *microseconds < 0 || *microseconds > kLatest)
        refuseInput(QStringLiteral("the entry has no time: \"__REALTIME_TIMESTAMP\" is missing or not a number of microseconds"));
    record.clear();
    record.setTime(ServerColumn::TimeGenerated, *microseconds / 1000);
    const auto priority = entry.number("PRIORITY");
    const std::string_view level = levelOfSeverity(static_cast<int>(std::clamp<qint64>(priority.value_or(kInformation), -1, 8)));
    record.setText(ServerColumn::Level, level);
    record.setText(ServerColumn::Type, level);
    record.setText(ServerColumn::Source, entry.firstText("SYSLOG_IDENTIFIER", "_COMM"));
    const auto facility = entry.number("SYSLOG_FACILITY");
    const std::string_view facilityText =
        facility && *facility >= 0 && *facility < 24 ? facilityName(static_cast<int>(*facility)) : std::string_view();
    record.setText(ServerColumn::Channel, facilityText.empty() ? entry.text("_TRANSPORT").toStdString() : std::string(facilityText));
    if (record.text(static_cast<int>(ServerColumn::Channel)).empty())
        record.setText(ServerColumn::Channel, "journal");
    record.setText(ServerColumn::Category, entry.firstText("_SYSTEMD_UNIT", "UNIT"));
    record.setText(ServerColumn::Computer, entry.text("_HOSTNAME").toStdString());
    if (const auto uid = entry.number("_UID"))
        record.setText(ServerColumn::UserName, "uid " + std::to_string(*uid));
    record.setText(ServerColumn::Process, entry.firstText("_EXE", "_COMM"));
    const std::string message = entry.text("MESSAGE").toStdString();
    record.setText(ServerColumn::Message, message);
    readUnixAccess(entry.firstText("SYSLOG_IDENTIFIER", "_COMM"), message, record);
    record.setText(ServerColumn::DataSource, dataSource);
}

} // namespace

JournalReader::JournalReader(InputFile &input, const QString &dataSource) : m_lines(input), m_dataSource(dataSource.toStdString()) {}

bool JournalReader::next(EventRecord &record)
{
    std::string_view line;
    do {
        if (!m_lines.next(line))
            return false;
    } while (line.empty());
    QJsonParseError error{};
    const QJsonDocument document =
        QJsonDocument::fromJson(QByteArray::fromRawData(line.data(), static_cast<qsizetype>(line.size())), &error);
    if (error.error != QJsonParseError::NoError)
        refuseInput(QStringLiteral("the line is not JSON (%1 at character %2)").arg(error.errorString()).arg(error.offset + 1));
    if (!document.isObject())
        refuseInput(QStringLiteral("the line is not a JSON object; export the journal with \"journalctl -o json\""));
    fillRecord(Entry(document.object()), m_dataSource, record);
    return true;
}

} // namespace qm
