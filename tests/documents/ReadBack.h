/// \file
/// Reads reports back through tests/documents/read_back.py, which uses Python's csv, html.parser, zipfile and openpyxl.
#pragma once

#include "support/HostProgram.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

namespace qm::test {

using namespace Qt::StringLiterals;

/// A Python that has openpyxl: the one on the path, or else the system's own. Empty when there is none.
inline QString pythonWithReaders()
{
    for (const QString &python : {u"python3"_s, u"/usr/bin/python3"_s})
        if (runHost(python, {u"-c"_s, u"import openpyxl"_s}).code == 0)
            return python;
    return {};
}

/// What the reader for \p kind (csv, html, xlsx, zip) finds in \p path; empty, with the reader's words in the log, when it refuses the
/// file.
inline QJsonObject readBack(const QString &python, const QString &kind, const QString &path)
{
    const HostResult reader = runHost(python, {qEnvironmentVariable("QM_SOURCE_DIR") + u"/tests/documents/read_back.py"_s, kind, path});
    if (reader.code != 0 || !reader.err.isEmpty()) {
        qWarning("%s", reader.err.constData());
        return {};
    }
    return QJsonDocument::fromJson(reader.out).object();
}

} // namespace qm::test
