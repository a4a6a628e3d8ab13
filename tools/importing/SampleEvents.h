/// \file
/// Events of an invented company, for the trial installation, tests and benchmarks.
#pragma once

#include "importing/EventRecord.h"

#include <functional>
#include <vector>

namespace qm {

class EventDatabase;

struct SampleOptions
{
    EventKind kind = EventKind::Server;
    std::int64_t rows = 20'000;
    std::uint64_t seed = 1;
    EventTime end = 0; ///< no event is at this time or later
    int days = 60;     ///< before the end
};

/// The i-th event is a function of the options and i alone: the same options give the same events on every machine, and any part of them
/// can be made by itself. Times follow the weekdays and hours of an office and all but incidents come in order. Addresses are of the ranges
/// set aside for documentation (RFC 5737, RFC 3849, RFC 2606), and every row says "sample data" in its column data_source.
class SampleEvents final
{
public:
    explicit SampleEvents(const SampleOptions &options);

    [[nodiscard]] std::int64_t rows() const { return m_options.rows; }
    /// Makes the event of \p index, 0 to rows() - 1, complete for insertion.
    void fill(std::int64_t index, EventRecord &record) const;

private:
    [[nodiscard]] EventTime timeOf(std::int64_t index) const;

    SampleOptions m_options;
    EventTime m_start;
    std::string m_endText;
    std::vector<double> m_weights; ///< by hour since the start: share of all events up to its end
};

/// Adds all of \p events to the database, which the caller commits. \p progress may be empty.
void insertSampleEvents(const SampleEvents &events, const EventSchema &schema, EventDatabase &database,
                        const std::function<void(std::int64_t rows)> &progress = {});

} // namespace qm
