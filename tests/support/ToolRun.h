/// \file
/// Running the finished command-line programs, and looking into the databases they make.
#pragma once

#include "support/HostProgram.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QtTest>

#include <sqlite3.h>

namespace qm::test {

using namespace Qt::StringLiterals;

struct ToolResult
{
    int code = -1; ///< -1: did not end by itself
    QString out, err;
};

[[nodiscard]] inline QString toolPath(const char *name)
{
    // QProcess adds the ending of programs where the system has one.
    return qEnvironmentVariable("QM_BIN_DIR") + u'/' + QString::fromLatin1(name);
}

/// Waits for the end of a program that was started.
[[nodiscard]] inline ToolResult finished(QProcess &process)
{
    constexpr int kPatienceMs = 120'000;
    const bool ended = process.waitForFinished(kPatienceMs) && process.exitStatus() == QProcess::NormalExit;
    // Windows ends lines of a program's output in two characters.
    return {ended ? process.exitCode() : -1, QString::fromUtf8(process.readAllStandardOutput().replace("\r\n", "\n")),
            QString::fromUtf8(process.readAllStandardError().replace("\r\n", "\n"))};
}

[[nodiscard]] inline ToolResult runTool(const char *name, const QStringList &arguments, const QByteArray &input = {},
                                        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(toolPath(name), arguments);
    process.write(input);
    process.closeWriteChannel();
    return finished(process);
}

/// The rows of a query, each as its values joined by "|"; NULL is "~". A failure is the one row "error: ...".
[[nodiscard]] inline QStringList rowsOf(const QString &database, const QString &sql, const QMap<QString, QString> &parameters = {},
                                        QStringList *columns = nullptr)
{
    sqlite3 *opened = nullptr;
    sqlite3_stmt *statement = nullptr;
    QStringList rows;
    if (sqlite3_open_v2(database.toUtf8().constData(), &opened, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK ||
        sqlite3_prepare_v2(opened, sql.toUtf8().constData(), -1, &statement, nullptr) != SQLITE_OK)
        rows << u"error: "_s + QString::fromUtf8(sqlite3_errmsg(opened));
    for (auto i = parameters.begin(); statement != nullptr && i != parameters.end(); ++i) {
        const QByteArray value = i.value().toUtf8();
        sqlite3_bind_text(statement, sqlite3_bind_parameter_index(statement, (u':' + i.key()).toUtf8().constData()), value.constData(),
                          static_cast<int>(value.size()), SQLITE_TRANSIENT);
    }
    for (int i = 0; columns != nullptr && i < sqlite3_column_count(statement); ++i)
        *columns << QString::fromUtf8(sqlite3_column_name(statement, i));
    while (statement != nullptr && sqlite3_step(statement) == SQLITE_ROW) {
        QStringList cells;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(statement, i));
            cells << (text == nullptr ? u"~"_s : QString::fromUtf8(text, sqlite3_column_bytes(statement, i)));
        }
        rows << cells.join(u'|');
    }
    sqlite3_finalize(statement);
    sqlite3_close(opened);
    return rows;
}

inline void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(path));
    QCOMPARE(file.write(bytes), bytes.size());
}

[[nodiscard]] inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace qm::test
