#include "engine/run/DistinctCounter.h"

#include "core/RuntimeError.h"
#include "engine/rows/RowCells.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace qm {

namespace {

/// What an entry costs beside its bytes.
constexpr std::size_t kPerEntry = 72;

void check(sqlite3 *database, int code)
{
    if (code == SQLITE_OK || code == SQLITE_DONE || code == SQLITE_ROW)
        return;
    const QString what = QStringLiteral("while counting different values beyond the memory for them (%1)").arg(sqlite::message(database));
    switch (sqlite::troubleOf(code)) {
    case sqlite::Trouble::DiskFull:
        raise(err::diskFull, what + QStringLiteral(". Free some space, or shorten the report's period."), kFrameworkSource);
    case sqlite::Trouble::OutOfMemory:
        raise(err::outOfMemory, what, kFrameworkSource);
    default:
        raise(err::deviceIo, what, kFrameworkSource);
    }
}

void execute(sqlite3 *database, const char *sql)
{
    check(database, sqlite::execute(database, sql));
}

} // namespace

void DistinctCounter::add(const Value &value)
{
    if (value.isNull())
        return;
    m_key.clear();
    appendKey(value, m_key);
    if (!m_held.insert(m_key).second)
        return;
    m_bytes += m_key.size() + kPerEntry;
    if (m_bytes >= m_memory)
        spill();
}

void DistinctCounter::spill()
{
    if (!m_database) {
        int code = SQLITE_OK;
        // A database without a name is a temporary file, removed by SQLite as soon as it is open where the system allows that.
        m_database = sqlite::open({}, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, code);
        check(m_database.get(), code);
        execute(m_database.get(), "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; PRAGMA cache_size=-8000; PRAGMA temp_store=FILE;"
                                  "CREATE TABLE seen(key BLOB PRIMARY KEY) WITHOUT ROWID");
        m_insert = sqlite::prepare(m_database.get(), "INSERT OR IGNORE INTO seen VALUES(?)");
    }
    // In their order, so that each page of the table is touched once.
    std::vector<std::string_view> keys(m_held.begin(), m_held.end());
    std::sort(keys.begin(), keys.end());
    execute(m_database.get(), "BEGIN");
    for (const std::string_view key : keys) {
        check(m_database.get(), sqlite3_bind_blob64(m_insert.get(), 1, key.data(), key.size(), SQLITE_STATIC));
        check(m_database.get(), sqlite3_step(m_insert.get()));
        m_spilled += sqlite3_changes(m_database.get());
        sqlite3_reset(m_insert.get());
    }
    execute(m_database.get(), "COMMIT");
    m_held.clear();
    m_bytes = 0;
}

std::int64_t DistinctCounter::count()
{
    if (!m_database)
        return static_cast<std::int64_t>(m_held.size());
    spill();
    return m_spilled;
}

void DistinctCounter::clear()
{
    m_held = {}; // clear() would keep, and wipe each time, the table of the largest group
    m_bytes = 0;
    m_insert.reset();
    m_database.reset();
    m_spilled = 0;
}

} // namespace qm
