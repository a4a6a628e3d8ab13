#include "engine/run/PreparedQuery.h"

#include "core/Failure.h"
#include "platform/Files.h"

#include <algorithm>
#include <chrono>

namespace qm {

namespace {

/// One moment, however often it is asked: a run that begins at midnight has its period and its date of the same day.
class Moment final : public Clock
{
public:
    explicit Moment(const Clock &clock) : m_now(clock.now()), m_wall(clock.wallNow()) {}
    [[nodiscard]] std::chrono::system_clock::time_point now() const override { return m_now; }
    [[nodiscard]] WallTime wallNow() const override { return m_wall; }

private:
    std::chrono::system_clock::time_point m_now;
    WallTime m_wall;
};

bool isNameOf(const QString &name, const char *periodEnd)
{
    return name.compare(QLatin1String(periodEnd), Qt::CaseInsensitive) == 0;
}

QString wallText(const WallTime &wall)
{
    return wall.date.toString(Qt::ISODate) + u' ' + time24Text(wall.secondOfDay);
}

QString dayText(QDate day)
{
    return day.isValid() ? day.toString(Qt::ISODate) : QStringLiteral("...");
}

/// Short words for the period that is chosen; empty when none is.
QString chosenPeriod(const Query &query, const QueryChoices &choices)
{
    if (choices.allTime)
        return QStringLiteral("all time");
    if (choices.period)
        return choices.period->simplified();
    if (choices.from.isValid() || choices.to.isValid())
        return QStringLiteral("%1 to %2").arg(dayText(choices.from), dayText(choices.to));
    return query.period.used ? query.period.range.simplified() : QString();
}

void choosePeriod(PreparedQuery &prepared, const QueryChoices &choices, const Clock &clock)
{
    const Query &query = *prepared.query;
    const bool dated = choices.from.isValid() || choices.to.isValid();
    if (!prepared.takesPeriod) {
        if (dated || choices.period)
            failReport(
                QStringLiteral("The query \"%1\" takes no period: its SQL uses neither :date_from nor :date_to. Run it without dates.")
                    .arg(query.Description));
        return;
    }
    const QString phrase = chosenPeriod(query, choices);
    QStringList open = prepared.names;
    for (auto given = choices.parameters.cbegin(); given != choices.parameters.cend(); ++given)
        open.removeIf([&](const QString &name) { return name.compare(given.key(), Qt::CaseInsensitive) == 0; });
    // With both ends given by name the period has no say, and is not stated.
    if (!takesPeriod(query, open) || (phrase.isEmpty() && !choices.period))
        return;
    prepared.period =
        dated && !choices.allTime && !choices.period ? periodBetween(choices.from, choices.to, clock) : resolvePeriod(phrase, clock);
    prepared.facts.periodPhrase = phrase;
    prepared.facts.period = prepared.period->words;
    prepared.facts.dateFrom = prepared.period->fromUtc;
    prepared.facts.dateTo = prepared.period->toUtc;
}

} // namespace

bool takesPeriod(const Query &query, const QStringList &names)
{
    const auto isOfPeriod = [&](const QString &name) {
        const auto declaresIt = [&](const QueryParameter &parameter) { return parameter.name.compare(name, Qt::CaseInsensitive) == 0; };
        return (isNameOf(name, kDateFrom) || isNameOf(name, kDateTo)) &&
               std::none_of(query.parameters.begin(), query.parameters.end(), declaresIt);
    };
    return std::any_of(names.begin(), names.end(), isOfPeriod);
}

LocatedQuery locateQuery(std::shared_ptr<const Query> query, const QueryHome &home, const std::optional<QString> &database)
{
    LocatedQuery located;
    located.home = home;
    const QString file = database.value_or(home.database);
    if (file.isEmpty() && query->dataSource.isEmpty())
        failReport(QStringLiteral("The query file %1 belongs to no package of an installation, so it has no event database. Move it into a "
                                  "report group below a package's \"Query Groups\" folder, or name a database for this run "
                                  "(--database FILE).")
                       .arg(query->QueryFile));
    located.source = describeSource(database ? QString() : query->dataSource, file, home.installPath);
    located.sql = sqlFor(*query, located.source.dialect);
    located.names = parameterNames(located.sql, located.source.dialect);
    located.takesPeriod = takesPeriod(*query, located.names);
    located.query = std::move(query);
    return located;
}

bool asksForValues(const LocatedQuery &located)
{
    const Query &query = *located.query;
    const auto isOpen = [](const QueryParameter &parameter) { return !parameter.hasDefault; };
    const bool hasPeriod = query.period.used && !query.period.range.trimmed().isEmpty();
    return (located.takesPeriod && !hasPeriod) || std::any_of(query.parameters.begin(), query.parameters.end(), isOpen);
}

PreparedQuery prepareQuery(std::shared_ptr<const Query> query, const QueryHome &home, const QueryChoices &choices, const Clock &clock)
{
    PreparedQuery prepared{locateQuery(std::move(query), home, choices.database), {}, {}, {}};
    const Moment moment(clock);
    RunFacts &facts = prepared.facts;
    facts.description = prepared.query->Description;
    facts.queryFile = files::lastPart(prepared.query->QueryFile);
    facts.package = home.package;
    facts.group = home.group;
    facts.source = prepared.source.shown;
    facts.house = readHouseStyle(home.installPath);
    facts.madeLocal = wallText(moment.wallNow());
    facts.madeUtc = utcText(moment.now());
    choosePeriod(prepared, choices, moment);
    prepared.parameters = bindParameters(*prepared.query, prepared.names, choices.parameters, prepared.period, moment.wallNow().date);
    for (const BoundParameter &parameter : prepared.parameters)
        if (!parameter.ofPeriod)
            facts.parameters.push_back({Fact::Kind::Parameter, parameter.label.toStdString(), parameter.shown.toStdString()});
    return prepared;
}

} // namespace qm
