/// \file
/// The rows of the schedule table.
#pragma once

#include "core/WallTime.h"

#include <QAbstractTableModel>
#include <QIcon>

#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace qm {

/// The nine cells of one row. Date and time stay texts, as they were filled; only comparisons parse them.
struct JobRow
{
    QString date, time, frequency, description, queryFile;
    QString nextRun; ///< date and time as one text: what the scheduler compares and counts down to
    std::int32_t jobId = 0;
    QString interfaceId; ///< programmatic identifier of the package's report interface; empty when no package matches
};

/// A job as it is listed. The texts of its row are made when somebody looks at them.
struct ListedJob
{
    WallTime dateTime;
    int frequency = 0; ///< code of the record, see Frequency
    QString description, queryFile;
    std::int32_t jobId = 0;
    QString interfaceId;

    [[nodiscard]] JobRow toRow() const;
};

/// The schedule table: nine-cell rows numbered from 0, the selected row, and a mark on rows whose query file is gone.
/// It does not know the job collection; ScheduledJobs keeps the two in step.
class JobTable final : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { Picture, Date, Time, Frequency, Description, QueryFile, NextRun, JobId, InterfaceId, ColumnCount };

    using QAbstractTableModel::QAbstractTableModel;

    [[nodiscard]] int rows() const { return static_cast<int>(m_rows.size()); }
    /// \throws RuntimeError 9 when there is no such row.
    [[nodiscard]] const JobRow &row(int index) const;
    void setJobs(std::vector<ListedJob> jobs);
    void appendRow(JobRow row);
    void setRow(int index, JobRow row);
    /// When the selected row goes, its neighbour is selected: the one below, at the end the one above.
    void removeRowAt(int index);
    /// The first row of that job, or nullopt.
    [[nodiscard]] std::optional<int> rowOfJob(std::int32_t jobId) const;

    /// The next run of a row, parsed (and kept parsed). \throws RuntimeError 9 no such row, 13 text is no date-time.
    [[nodiscard]] WallTime nextRun(int index) const;
    /// The row with the earliest next run; among equals the upper one. Rows must exist. \throws RuntimeError 13 for a row whose text is no
    /// date-time.
    [[nodiscard]] int earliestRow() const;

    /// Selected row, -1 for none. Selecting a row that does not exist selects nothing.
    [[nodiscard]] int selectedRow() const { return m_selected; }
    void selectRow(int index);

    /// Forgets which query files were found, so that rows whose file has gone (or come back) are marked anew.
    void refreshFileMarks();
    /// Descriptions of the jobs whose query file does not exist (looks at the disk once for every file).
    [[nodiscard]] QStringList jobsWithoutFile() const;

    void setPicture(const QIcon &picture) { m_picture = picture; }

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

Q_SIGNALS:
    /// Another row is selected, or the selected row has another number or job now.
    void selectedRowChanged(int row);

private:
    struct Entry
    {
        mutable std::variant<ListedJob, std::unique_ptr<JobRow>> content;
        mutable std::optional<WallTime> when;      ///< the next run parsed; empty: not parsed yet
        mutable std::optional<bool> fileIsMissing; ///< empty: not looked yet

        [[nodiscard]] const JobRow &cells() const;
        [[nodiscard]] std::int32_t jobId() const;
        [[nodiscard]] const QString &queryFile() const;
        [[nodiscard]] const QString &description() const;
    };
    [[nodiscard]] const Entry &entry(int index) const;
    [[nodiscard]] static Entry entryOf(ListedJob job);
    [[nodiscard]] static Entry entryOf(JobRow row);
    [[nodiscard]] bool fileIsMissing(const Entry &entry) const;
    [[nodiscard]] QVariant text(const JobRow &row, int column) const;

    std::vector<Entry> m_rows;
    int m_selected = -1;
    QIcon m_picture;
};

} // namespace qm
