#include "scheduler/JobTable.h"

#include "core/PlainTip.h"
#include "core/RuntimeError.h"
#include "platform/Files.h"
#include "scheduler/NextRun.h"

#include <QColor>
#include <QFont>
#include <QHash>

#include <array>

namespace qm {

namespace {
constexpr std::array<const char *, JobTable::ColumnCount> kHeaders{"",
                                                                   QT_TRANSLATE_NOOP("qm::JobTable", "Date"),
                                                                   QT_TRANSLATE_NOOP("qm::JobTable", "Time"),
                                                                   QT_TRANSLATE_NOOP("qm::JobTable", "Frequency"),
                                                                   QT_TRANSLATE_NOOP("qm::JobTable", "Description"),
                                                                   QT_TRANSLATE_NOOP("qm::JobTable", "Query File To User"),
                                                                   "",
                                                                   "",
                                                                   ""};
} // namespace

JobRow ListedJob::toRow() const
{
    const QString time = time12Text(dateTime.secondOfDay);
    return {tableDateText(dateTime.date),
            time,
            frequencyText(frequency),
            description,
            queryFile,
            shortDateText(dateTime.date) + u' ' + time,
            jobId,
            interfaceId};
}

const JobRow &JobTable::Entry::cells() const
{
    if (const auto *const job = std::get_if<ListedJob>(&content))
        content = std::make_unique<JobRow>(job->toRow());
    return *std::get<std::unique_ptr<JobRow>>(content);
}

std::int32_t JobTable::Entry::jobId() const
{
    const auto *const job = std::get_if<ListedJob>(&content);
    return job ? job->jobId : cells().jobId;
}

const QString &JobTable::Entry::queryFile() const
{
    const auto *const job = std::get_if<ListedJob>(&content);
    return job ? job->queryFile : cells().queryFile;
}

const QString &JobTable::Entry::description() const
{
    const auto *const job = std::get_if<ListedJob>(&content);
    return job ? job->description : cells().description;
}

JobTable::Entry JobTable::entryOf(ListedJob job)
{
    // The text of a valid date reads back as that date.
    const std::optional<WallTime> when = job.dateTime.date.isValid() ? std::optional(job.dateTime) : std::nullopt;
    return {std::move(job), when, {}};
}

JobTable::Entry JobTable::entryOf(JobRow row)
{
    return {std::make_unique<JobRow>(std::move(row)), {}, {}};
}

const JobTable::Entry &JobTable::entry(int index) const
{
    if (index < 0 || index >= rows())
        raise(err::subscriptOutOfRange,
              index < 0 ? tr("no scheduled report is selected") : tr("the schedule has no row %1").arg(index + 1));
    return m_rows[static_cast<std::size_t>(index)];
}

const JobRow &JobTable::row(int index) const
{
    return entry(index).cells();
}

void JobTable::setJobs(std::vector<ListedJob> jobs)
{
    beginResetModel();
    m_rows.clear();
    m_rows.reserve(jobs.size());
    for (ListedJob &job : jobs)
        m_rows.push_back(entryOf(std::move(job)));
    m_selected = -1;
    endResetModel();
}

void JobTable::appendRow(JobRow row)
{
    beginInsertRows({}, rows(), rows());
    m_rows.push_back(entryOf(std::move(row)));
    endInsertRows();
}

void JobTable::setRow(int index, JobRow row)
{
    static_cast<void>(entry(index));
    m_rows[static_cast<std::size_t>(index)] = entryOf(std::move(row));
    Q_EMIT dataChanged(this->index(index, 0), this->index(index, ColumnCount - 1));
}

void JobTable::removeRowAt(int index)
{
    static_cast<void>(entry(index));
    const bool movesUp = m_selected > index || m_selected == rows() - 1;
    beginRemoveRows({}, index, index);
    m_rows.erase(m_rows.begin() + index);
    m_selected -= movesUp ? 1 : 0;
    endRemoveRows();
    Q_EMIT selectedRowChanged(m_selected); // in any case: the row of that number may be another job now
}

std::optional<int> JobTable::rowOfJob(std::int32_t jobId) const
{
    for (int i = 0; i < rows(); ++i)
        if (m_rows[static_cast<std::size_t>(i)].jobId() == jobId)
            return i;
    return std::nullopt;
}

WallTime JobTable::nextRun(int index) const
{
    const Entry &found = entry(index);
    if (!found.when)
        found.when = parseWallTime(found.cells().nextRun);
    return *found.when;
}

int JobTable::earliestRow() const
{
    int chosen = 0;
    WallTime earliest = nextRun(0);
    for (int i = 1; i < rows(); ++i) {
        if (const WallTime when = nextRun(i); when < earliest) {
            earliest = when;
            chosen = i;
        }
    }
    return chosen;
}

void JobTable::selectRow(int index)
{
    const int wanted = index >= 0 && index < rows() ? index : -1;
    if (wanted == m_selected)
        return;
    m_selected = wanted;
    Q_EMIT selectedRowChanged(m_selected);
}

void JobTable::refreshFileMarks()
{
    for (Entry &each : m_rows)
        each.fileIsMissing.reset();
    if (!m_rows.empty())
        Q_EMIT dataChanged(index(0, 0), index(rows() - 1, ColumnCount - 1));
}

QStringList JobTable::jobsWithoutFile() const
{
    QStringList descriptions;
    QHash<QString, bool> looked; // many jobs may share a query file
    for (const Entry &each : m_rows) {
        if (!each.fileIsMissing) {
            const auto known = looked.constFind(each.queryFile());
            if (known != looked.constEnd())
                each.fileIsMissing = *known;
            else
                looked.insert(each.queryFile(), fileIsMissing(each));
        }
        if (*each.fileIsMissing)
            descriptions.append(each.description());
    }
    return descriptions;
}

bool JobTable::fileIsMissing(const Entry &each) const
{
    if (!each.fileIsMissing)
        each.fileIsMissing = !files::fileExists(each.queryFile());
    return *each.fileIsMissing;
}

int JobTable::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : rows();
}

int JobTable::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(ColumnCount);
}

QVariant JobTable::text(const JobRow &row, int column) const
{
    switch (column) {
    case Date:
        return row.date;
    case Time:
        return row.time;
    case Frequency:
        return row.frequency;
    case Description:
        return row.description;
    case QueryFile:
        return row.queryFile;
    case NextRun:
        return row.nextRun;
    case JobId:
        return row.jobId;
    case InterfaceId:
        return row.interfaceId;
    default:
        return {};
    }
}

QVariant JobTable::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Entry &each = m_rows[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        return text(each.cells(), index.column());
    case Qt::DecorationRole:
        return index.column() == Picture ? QVariant(m_picture) : QVariant();
    case Qt::ForegroundRole:
        return fileIsMissing(each) ? QVariant(QColor(0xC0, 0x39, 0x2B)) : QVariant();
    case Qt::FontRole: {
        QFont struck;
        struck.setStrikeOut(true);
        return index.column() == QueryFile && fileIsMissing(each) ? QVariant(struck) : QVariant();
    }
    case Qt::ToolTipRole:
        return fileIsMissing(each) ? plainTip(tr("The query file of this job does not exist: %1").arg(each.queryFile())) : QVariant();
    case Qt::AccessibleTextRole: {
        if (index.column() == Picture)
            return tr("Scheduled report");
        const QString shown = text(each.cells(), index.column()).toString();
        return index.column() == QueryFile && fileIsMissing(each) ? tr("%1 (missing)").arg(shown) : shown;
    }
    default:
        return {};
    }
}

QVariant JobTable::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= ColumnCount)
        return QAbstractTableModel::headerData(section, orientation, role);
    const char *caption = kHeaders[static_cast<std::size_t>(section)];
    return *caption ? tr(caption) : QString();
}

} // namespace qm
