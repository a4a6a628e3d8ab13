/// \file
/// The print server of the tests, and what it printed.
#pragma once

#include "support/ServerProcess.h"
#include "support/System.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace qm::test {

/// While it lives, this process prints through it. Queues: good, disabled, rejecting.
class PrintServer final
{
public:
    PrintServer()
    {
        if (onWindows()) {
            m_problem = QStringLiteral("Windows prints through the program for PDF files, and there is none here");
            return;
        }
        if (!QFile::exists(QStringLiteral("/usr/sbin/cupsd")) ||
            !QFile::exists(QStringLiteral("/usr/share/ppd/cupsfilters/Generic-PDF_Printer-PDF.ppd"))) {
            m_problem = QStringLiteral("cups and cups-filters are not installed");
            return;
        }
        // The server prints as another user, who has to reach its own folder.
        QFile::setPermissions(m_folder.path(), QFile::permissions(m_folder.path()) | QFile::ReadOther | QFile::ExeOther);
        if (!m_process.start(QStringLiteral("print_server.sh"), {m_folder.path(), QStringLiteral("120")})) {
            m_problem = m_process.problem();
            return;
        }
        qputenv("CUPS_SERVER", m_process.value(QStringLiteral("server")).toUtf8());
    }
    ~PrintServer() { qunsetenv("CUPS_SERVER"); }
    PrintServer(const PrintServer &) = delete;
    PrintServer &operator=(const PrintServer &) = delete;

    [[nodiscard]] const QString &problem() const { return m_problem; }
    /// Runs one of the printing system's commands (lpstat, lpadmin, ...). \returns what it printed.
    QString command(const QString &program, const QStringList &arguments) const { return QString::fromUtf8(outputOf(program, arguments)); }
    /// Empties what was printed before.
    void clear() const { QFile(printedFile()).resize(0); }
    /// The pages that came out of "good", printer language around them.
    [[nodiscard]] QString printedFile() const { return m_folder.filePath(QStringLiteral("printed/page.prn")); }
    /// One line a job that was printed: queue, user, job, total, pages, ... as the server's page log has it.
    [[nodiscard]] QString pageLog() const
    {
        QFile file(m_folder.filePath(QStringLiteral("log/page")));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

private:
    QTemporaryDir m_folder;
    ServerProcess m_process;
    QString m_problem;
};

} // namespace qm::test
