/// \file
/// Files and values for the tests of the program's own formats.
#pragma once

#include "core/RuntimeError.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <random>

namespace qm::test {

/// A folder for one test; files are given by name.
class Folder
{
public:
    [[nodiscard]] QString path(const QString &name) const { return m_dir.filePath(name); }
    [[nodiscard]] QString root() const { return m_dir.path() + u'/'; }
    QString write(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write %s", qPrintable(path(name)));
        return path(name);
    }
    [[nodiscard]] QByteArray read(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] QStringList names() const { return QDir(m_dir.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }

private:
    QTemporaryDir m_dir;
};

/// The error that \p body throws; number 0 when it throws none.
template <class Body>
RuntimeError errorOf(Body &&body)
{
    try {
        body();
    } catch (const RuntimeError &error) {
        return error;
    }
    return RuntimeError(0, QStringLiteral("no error"));
}

/// Texts that have broken formats before.
inline QStringList nastyTexts()
{
    return {QString(),
            QStringLiteral(" "),
            QStringLiteral("plain"),
            QStringLiteral("\n"),
            QStringLiteral("\nleading newline"),
            QStringLiteral("a\r\nb\r\n"),
            QStringLiteral("a\rb"),
            QStringLiteral("two\nlines"),
            QStringLiteral("ends with newline\n"),
            QStringLiteral("'''"),
            QStringLiteral("line\nwith ''' inside"),
            QStringLiteral("line\nends with '"),
            QStringLiteral("\"\"\""),
            QStringLiteral("line\nwith \"\"\" and \\ inside"),
            QStringLiteral("C:\\Program Files\\new\\u0041"),
            QStringLiteral("# not = a [comment]"),
            QStringLiteral("tab\there\nand\tthere"),
            QStringLiteral("Gr\u00FC\u00DFe, \u4E2D\u6587, \u0416"),
            QStringLiteral("emoji \U0001F600\nsecond \U0001F680"),
            QStringLiteral("line\u2028separator \u202Ereversed"),
            QStringLiteral("\uFEFFmark first"),
            QStringLiteral("\uFEFF\uFEFFtwo marks\n"),
            QString(QChar(0)) + QStringLiteral("zero") + QChar(0),
            QStringLiteral("bell\a escape\x1B delete\x7F next\u0085"),
            QString(QChar(0xD83D)),
            QString(QChar(0xDE00)) + QChar(0xD83D) + QStringLiteral("\nturned round"),
            QStringLiteral("\uFDD0D83D and \uFDD0"),
            QStringLiteral("\uFFFD \uFFFE \uFFFF")};
}

/// The same numbers in every run.
class Random
{
public:
    explicit Random(unsigned seed) : m_engine(seed) {}
    unsigned operator()() { return static_cast<unsigned>(m_engine()); }

private:
    std::mt19937 m_engine;
};

/// One of the nasty texts, or some of their pieces joined.
inline QString randomText(Random &random)
{
    static const QStringList texts = nastyTexts();
    const auto pick = [&] { return texts.at(static_cast<qsizetype>(random() % static_cast<unsigned>(texts.size()))); };
    QString text = pick();
    for (unsigned more = random() % 3; more > 0; --more)
        text += QStringView(pick()).mid(static_cast<qsizetype>(random() % 3)).toString();
    return text;
}

} // namespace qm::test
