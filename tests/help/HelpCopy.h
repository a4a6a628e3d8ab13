/// \file
/// The built help file, and copies of it to spoil.
#pragma once

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace qm::test {

using namespace Qt::StringLiterals;

inline QString builtHelp()
{
    return qEnvironmentVariable("QM_BIN_DIR") + u"/Report Generator.chm"_s;
}

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

} // namespace qm::test
