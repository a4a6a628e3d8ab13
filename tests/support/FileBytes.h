/// \file
/// Whole files, read and written where they lie.
#pragma once

#include <QFile>
#include <QtTest>

namespace qm::test {

/// What the file holds; null when it cannot be read.
inline QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline void writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}

/// The path of the built help file.
inline QString builtHelp()
{
    return qEnvironmentVariable("QM_BIN_DIR") + QStringLiteral("/Report Generator.chm");
}

} // namespace qm::test
