/// \file
/// Checks SQL that is being written, in the background.
#pragma once

#include "reporting/common/BackgroundTask.h"
#include "reporting/editor/QueryProbe.h"

#include <QObject>
#include <QTimer>

#include <memory>

namespace qm {

/// Becomes due a moment after the last edit. One check runs at a time; the outcome of one that an edit has overtaken is dropped.
class SqlCheck final : public QObject
{
    Q_OBJECT
public:
    explicit SqlCheck(QObject *parent = nullptr);
    ~SqlCheck() override;

    void schedule() { m_soon.start(); }
    /// To be called when due, unless there is nothing to check.
    void start(const ProbeRequest &request);

Q_SIGNALS:
    void due();
    /// \p why: the database's words; empty when the SQL is right.
    void ended(const QString &why);

private:
    void becomeDue();
    void end();

    QTimer m_soon;
    std::unique_ptr<BackgroundTask> m_task;
    bool m_again = false;
};

} // namespace qm
