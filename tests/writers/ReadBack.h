/// \file
/// Reads reports back through tests/writers/read_back.py, which uses Python's csv, html.parser, zipfile and openpyxl.
#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QtTest>

namespace qm::test {

using namespace Qt::StringLiterals;

/// A Python that has openpyxl: the one on the path, or else the system's own. Empty when there is none.
inline QString pythonWithReaders()
{
    for (const QString &python : {u"python3"_s, u"/usr/bin/python3"_s})
        if (QProcess::execute(python, {u"-c"_s, u"import sys\ntry:\n import openpyxl\nexcept ImportError:\n sys.exit(1)"_s}) == 0)
            return python;
    return {};
}

/// What the reader for \p kind (csv, html, xlsx, zip) finds in \p path; empty, with the reader's words in the log, when it refuses the
/// file.
inline QJsonObject readBack(const QString &python, const QString &kind, const QString &path)
{
    QProcess reader;
    reader.start(python, {qEnvironmentVariable("QM_SOURCE_DIR") + u"/tests/writers/read_back.py"_s, kind, path});
    reader.waitForFinished(120000);
    const QByteArray said = reader.readAllStandardError();
    if (reader.exitCode() != 0 || !said.isEmpty()) {
        qWarning("%s", said.constData());
        return {};
    }
    return QJsonDocument::fromJson(reader.readAllStandardOutput()).object();
}

} // namespace qm::test
