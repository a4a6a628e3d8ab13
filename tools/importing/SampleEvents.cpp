#include "importing/SampleEvents.h"

#include "importing/EventDatabase.h"
#include "importing/SampleWorld.h"

#include <algorithm>

namespace qm {

namespace {

constexpr EventTime kDayMs = 24 * sample::kHour;
constexpr std::int64_t kRowsPerProgress = 4096;

/// How much happens in an hour: offices are busy from eight to six on weekdays.
double weightOf(EventTime hourStart)
{
    constexpr int kThursday = 3; // 1970-01-01, with Monday as 0
    const auto day = hourStart / kDayMs;
    const auto weekday = (day + kThursday) % 7;
    const auto hour = hourStart / sample::kHour % 24;
    return (weekday < 5 ? 1.0 : 0.25) * (hour >= 8 && hour < 18 ? 3.0 : 0.6);
}

} // namespace

SampleEvents::SampleEvents(const SampleOptions &options)
    : m_options(options), m_start(options.end - options.days * kDayMs), m_endText(eventTimeText(options.end))
{
    double sum = 0;
    for (EventTime hour = m_start; hour < options.end; hour += sample::kHour)
        m_weights.push_back(sum += weightOf(hour));
    for (double &weight : m_weights)
        weight /= sum;
}

EventTime SampleEvents::timeOf(std::int64_t index) const
{
    sample::Dice dice(m_options.seed, static_cast<std::uint64_t>(index) ^ 0x7469'6D65'0000'0000U);
    constexpr double kFractions = 65536;
    const double jitter = static_cast<double>(dice.below(65536)) / kFractions;
    const double share =
        std::clamp((static_cast<double>(index) + jitter) / static_cast<double>(std::max<std::int64_t>(m_options.rows, 1)), 0.0, 1.0);
    const auto found = std::ranges::lower_bound(m_weights, share);
    const auto hour = std::min<std::ptrdiff_t>(found - m_weights.begin(), std::ssize(m_weights) - 1);
    const double before = hour == 0 ? 0.0 : m_weights[static_cast<std::size_t>(hour - 1)];
    const double within = (share - before) / (m_weights[static_cast<std::size_t>(hour)] - before);
    const auto offset = static_cast<EventTime>(std::clamp(within, 0.0, 1.0) * static_cast<double>(sample::kHour - 1));
    return m_start + hour * sample::kHour + offset;
}

void SampleEvents::fill(std::int64_t index, EventRecord &record) const
{
    const std::function<EventTime(std::int64_t)> timeOfIndex = [this](std::int64_t other) { return timeOf(other); };
    const sample::Moment moment{m_options.seed, index, timeOf(index), timeOfIndex};
    record.clear();
    switch (m_options.kind) {
    case EventKind::Server:
        sample::fillServerEvent(moment, record);
        record.setText(ServerColumn::DataSource, sample::kDataSource);
        break;
    case EventKind::Mail:
        sample::fillMailEvent(moment, record);
        record.setText(MailColumn::DataSource, sample::kDataSource);
        break;
    case EventKind::File:
        sample::fillFileEvent(moment, record);
        record.setText(FileColumn::DataSource, sample::kDataSource);
        break;
    }
    // The last hop of a message or of an incident must not lie in the future.
    constexpr int kTimeColumn = 0; // of every kind
    if (record.text(kTimeColumn) >= m_endText)
        record.setTime(kTimeColumn, m_options.end - 1);
    record.complete();
}

void insertSampleEvents(const SampleEvents &events, const EventSchema &schema, EventDatabase &database,
                        const std::function<void(std::int64_t rows)> &progress)
{
    EventRecord record(schema);
    for (std::int64_t i = 0; i < events.rows(); ++i) {
        events.fill(i, record);
        database.insert(record);
        if (progress && (i + 1) % kRowsPerProgress == 0)
            progress(i + 1);
    }
}

} // namespace qm
