#include "reporting/generate/RunProgress.h"

#include <QCoreApplication>
#include <QLocale>

namespace qm {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("qm::RunProgress", text);
}

} // namespace

void RunProgress::follow(RunOptions &options)
{
    options.progress = [this](std::int64_t rows) { setRows(rows); };
    options.stage = [this](RunStage stage) { m_stage.store(stage, std::memory_order_relaxed); };
}

QString RunProgress::text() const
{
    const qint64 seconds = m_elapsed.elapsed() / 1000;
    const QString time = QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QChar(u'0'));
    const qint64 rows = m_rows.load(std::memory_order_relaxed);
    switch (m_stage.load(std::memory_order_relaxed)) {
    case RunStage::Sending:
        return tr(QT_TRANSLATE_NOOP("qm::RunProgress", "Sending the e-mail · %1")).arg(time);
    case RunStage::Printing:
        return tr(QT_TRANSLATE_NOOP("qm::RunProgress", "Printing · %1")).arg(time);
    case RunStage::Rows:
        break;
    }
    return rows == 0 ? tr(QT_TRANSLATE_NOOP("qm::RunProgress", "Waiting for the first row · %1")).arg(time)
                     : tr(QT_TRANSLATE_NOOP("qm::RunProgress", "%1 rows so far · %2")).arg(QLocale().toString(rows), time);
}

} // namespace qm
