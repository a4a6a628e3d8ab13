#include "engine/sql/Period.h"

#include "core/Failure.h"

#include <QStringList>
#include <QTimeZone>

#include <array>
#include <chrono>

namespace qm {

namespace {

using Instant = std::chrono::system_clock::time_point;

constexpr int kMostUnits = 10000;
constexpr char kPhrases[] = "today, yesterday, last [N] hours|days|weeks|months, this|previous day|week|month|quarter|year, all time";

[[noreturn]] void refuse(const QString &phrase)
{
    failReport(QStringLiteral("\"%1\" is not a period. Write one of: %2.").arg(phrase, QString::fromLatin1(kPhrases)));
}

QString localText(Instant instant)
{
    const WallTime wall = toLocalWallTime(instant);
    QString time = time24Text(wall.secondOfDay);
    if (wall.second() == 0)
        time.chop(3);
    return wall.date.toString(Qt::ISODate) + u' ' + time;
}

/// Offset of the local zone at \p instant, as "UTC+01:00".
QString offsetText(Instant instant)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(instant.time_since_epoch()).count();
    const auto offset = toLocalWallTime(instant).secondsSince({QDate(1970, 1, 1), 0}) - seconds;
    const auto minutes = std::abs(offset) / 60;
    return QStringLiteral("UTC%1%2:%3")
        .arg(QChar(offset < 0 ? u'-' : u'+'))
        .arg(minutes / 60, 2, 10, QLatin1Char('0'))
        .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

/// "Europe/Berlin, UTC+01:00 until UTC+02:00 from": the zone with the offset at either end.
QString zoneText(Instant from, Instant to)
{
    const QString name = QString::fromUtf8(QTimeZone::systemTimeZoneId());
    const QString first = offsetText(from), last = offsetText(to);
    const QString offsets = first == last ? first : first + QStringLiteral(", later ") + last;
    return name.isEmpty() || name == QStringLiteral("UTC") ? offsets : name + QStringLiteral(", ") + offsets;
}

Instant midnight(QDate date)
{
    return firstInstantAt({date, 0});
}

constexpr char kBeginning[] = "0001-01-01 00:00:00", kEnd[] = "9999-12-31 23:59:59";

PeriodRange between(const QString &name, Instant from, Instant to)
{
    PeriodRange range{.fromUtc = utcText(from), .toUtc = utcText(to), .words = {}};
    range.words = QStringLiteral("%1from %2 to before %3 (%4)")
                      .arg(name.isEmpty() ? QString() : name + QStringLiteral(": "), localText(from), localText(to), zoneText(from, to));
    return range;
}

PeriodRange days(const QString &name, QDate from, QDate to)
{
    return between(name, midnight(from), midnight(to));
}

PeriodRange allTime()
{
    return {QString::fromLatin1(kBeginning), QString::fromLatin1(kEnd), QStringLiteral("all time"), true};
}

enum class Unit { Hour, Day, Week, Month, Quarter, Year, None };

Unit unitOf(QString word)
{
    if (word.endsWith(u's'))
        word.chop(1);
    static const std::array names{QStringLiteral("hour"),  QStringLiteral("day"),     QStringLiteral("week"),
                                  QStringLiteral("month"), QStringLiteral("quarter"), QStringLiteral("year")};
    for (std::size_t i = 0; i < names.size(); ++i)
        if (names[i] == word)
            return static_cast<Unit>(i);
    return Unit::None;
}

/// First day of the calendar unit that holds \p day, moved by \p count units.
QDate startOf(Unit unit, QDate day, int count)
{
    switch (unit) {
    case Unit::Week:
        return day.addDays(1 - day.dayOfWeek() + 7 * count);
    case Unit::Month:
        return QDate(day.year(), day.month(), 1).addMonths(count);
    case Unit::Quarter:
        return QDate(day.year(), (day.month() - 1) / 3 * 3 + 1, 1).addMonths(3 * count);
    case Unit::Year:
        return QDate(day.year(), 1, 1).addYears(count);
    case Unit::Hour:
    case Unit::Day:
    case Unit::None:
        break;
    }
    return day.addDays(count);
}

/// The last \p count units: hours end now, all others at today's midnight. \p name is the phrase as shown.
PeriodRange lastUnits(const QString &name, Unit unit, int count, const Clock &clock)
{
    const QDate today = clock.wallNow().date;
    switch (unit) {
    case Unit::Hour:
        return between(name, clock.now() - std::chrono::hours(count), clock.now());
    case Unit::Day:
        return days(name, today.addDays(-count), today);
    case Unit::Week:
        return days(name, today.addDays(-7 * count), today);
    case Unit::Month:
        return days(name, today.addMonths(-count), today);
    case Unit::Quarter:
    case Unit::Year:
    case Unit::None:
        break;
    }
    refuse(name);
}

} // namespace

QString utcText(Instant instant)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(instant.time_since_epoch()).count();
    const auto days = seconds >= 0 ? seconds / 86400 : -((86399 - seconds) / 86400);
    return QDate(1970, 1, 1).addDays(days).toString(Qt::ISODate) + u' ' + time24Text(static_cast<int>(seconds - days * 86400));
}

PeriodRange resolvePeriod(const QString &phrase, const Clock &clock)
{
    const QString name = phrase.simplified().toLower();
    const QStringList words = name.split(u' ');
    const QDate today = clock.wallNow().date;
    if (name == QStringLiteral("all time"))
        return allTime();
    if (name == QStringLiteral("today"))
        return days(name, today, today.addDays(1));
    if (name == QStringLiteral("yesterday"))
        return days(name, today.addDays(-1), today);
    const Unit unit = unitOf(words.last());
    if (words.first() == QStringLiteral("last") && words.size() >= 2 && words.size() <= 3) {
        bool isNumber = true;
        const int count = words.size() == 3 ? words.at(1).toInt(&isNumber) : 1;
        if (!isNumber || count < 1 || count > kMostUnits || words.at(1).startsWith(u'+'))
            refuse(phrase);
        return lastUnits(name, unit, count, clock);
    }
    const bool isThis = words.first() == QStringLiteral("this");
    const bool fits = unit != Unit::None && unit != Unit::Hour && words.size() == 2 && !words.last().endsWith(u's');
    if (!fits || (!isThis && words.first() != QStringLiteral("previous")))
        refuse(phrase);
    const int first = isThis ? 0 : -1;
    return days(name, startOf(unit, today, first), startOf(unit, today, first + 1));
}

PeriodRange periodBetween(QDate from, QDate to, const Clock &)
{
    if (from.isValid() && to.isValid() && from > to)
        failReport(
            QStringLiteral("The period ends before it begins: from %1 to %2.").arg(from.toString(Qt::ISODate), to.toString(Qt::ISODate)));
    if (!from.isValid() && !to.isValid())
        return allTime();
    if (from.isValid() && to.isValid())
        return days({}, from, to.addDays(1));
    const Instant end = midnight(from.isValid() ? from : to.addDays(1));
    PeriodRange range{QString::fromLatin1(kBeginning), QString::fromLatin1(kEnd), {}, false};
    (from.isValid() ? range.fromUtc : range.toUtc) = utcText(end);
    range.words = QStringLiteral("%1 %2 (%3)")
                      .arg(from.isValid() ? QStringLiteral("from") : QStringLiteral("up to before"), localText(end), zoneText(end, end));
    return range;
}

} // namespace qm
