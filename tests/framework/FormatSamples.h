/// \file
/// Files and values for the tests of the program's own formats.
#pragma once

#include "support/ErrorOf.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <random>

namespace qm::test {

using namespace Qt::StringLiterals;

/// A folder for one test; files are given by name.
class Folder
{
public:
    [[nodiscard]] QString path(const QString &name) const { return QDir::toNativeSeparators(m_dir.path() + u'/' + name); }
    [[nodiscard]] QString root() const { return path({}); }
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

/// Texts that have broken formats before.
inline QStringList nastyTexts()
{
    return {QString(),
            u" "_s,
            u"plain"_s,
            u"\n"_s,
            u"\nleading newline"_s,
            u"a\r\nb\r\n"_s,
            u"a\rb"_s,
            u"two\nlines"_s,
            u"ends with newline\n"_s,
            u"'''"_s,
            u"line\nwith ''' inside"_s,
            u"line\nends with '"_s,
            u"\"\"\""_s,
            u"line\nwith \"\"\" and \\ inside"_s,
            u"C:\\Program Files\\new\\u0041"_s,
            u"# not = a [comment]"_s,
            u"tab\there\nand\tthere"_s,
            u"Gr\u00FC\u00DFe, \u4E2D\u6587, \u0416"_s,
            u"emoji \U0001F600\nsecond \U0001F680"_s,
            u"line\u2028separator \u202Ereversed"_s,
            u"hidden\u200B \u00AD\n\U000E0041 tag"_s,
            u"\uFEFFmark first"_s,
            u"\uFEFF\uFEFFtwo marks\n"_s,
            QString(QChar(0)) + u"zero"_s + QChar(0),
            u"bell\a escape\x1B delete\x7F next\u0085"_s,
            QString(QChar(0xD83D)),
            QString(QChar(0xDE00)) + QChar(0xD83D) + u"\nturned round"_s,
            u"\uFDD0D83D and \uFDD0"_s,
            u"\uFFFD \uFFFE \uFFFF"_s};
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
