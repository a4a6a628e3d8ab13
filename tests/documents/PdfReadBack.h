/// \file
/// Reads PDF files back through Poppler's programs: words and where they stand, facts of the document, what is drawn.
#pragma once

#include "support/HostProgram.h"

#include <QRegularExpression>
#include <QtTest>

#include <vector>

namespace qm::test {

using namespace Qt::StringLiterals;

/// One word of a page with the box it takes, in points from the upper left corner.
struct Word
{
    int page = 0;
    double left = 0, top = 0, right = 0, bottom = 0;
    QString text;
};

/// The text of the pages from \p first to \p last; all of them unless they are given.
inline QString textOf(const QString &path, int first = 1, int last = 0)
{
    return QString::fromUtf8(
        outputOf(u"pdftotext"_qs, {u"-raw"_qs, u"-f"_qs, QString::number(first), u"-l"_qs, QString::number(last), path, u"-"_qs}));
}

inline QString information(const QString &path, const QString &key)
{
    const QString all = QString::fromUtf8(outputOf(u"pdfinfo"_qs, {path}));
    return QRegularExpression(u"^"_qs + key + u":\\s*(.*)$"_qs, QRegularExpression::MultilineOption).match(all).captured(1);
}

inline std::vector<Word> words(const QString &path)
{
    const QString html = QString::fromUtf8(outputOf(u"pdftotext"_qs, {u"-bbox"_qs, path, u"-"_qs}));
    static const QRegularExpression kItem(
        u"<page |<word xMin=\"([^\"]+)\" yMin=\"([^\"]+)\" xMax=\"([^\"]+)\" yMax=\"([^\"]+)\">([^<]*)<"_qs);
    std::vector<Word> found;
    int page = 0;
    for (auto it = kItem.globalMatch(html); it.hasNext();) {
        const auto match = it.next();
        if (match.captured(1).isEmpty())
            ++page;
        else
            found.push_back({page, match.captured(1).toDouble(), match.captured(2).toDouble(), match.captured(3).toDouble(),
                             match.captured(4).toDouble(), match.captured(5)});
    }
    return found;
}

/// Without blanks, line ends and the marks by which pdftotext wraps right-to-left words: what is left must be equal, however lines broke.
inline QString squeezed(QString text)
{
    static const QRegularExpression kLoose(u"[\\s\\x{202A}-\\x{202E}]"_qs);
    return text.remove(kLoose);
}

/// A page as it looks: one byte per dot, 255 for white.
struct PageImage
{
    static constexpr int dotsPerPoint = 4;
    int width = 0, height = 0;
    QByteArray dots;

    explicit PageImage(const QString &path)
    {
        const QByteArray file =
            outputOf(u"pdftoppm"_qs, {u"-r"_qs, QString::number(72 * dotsPerPoint), u"-gray"_qs, u"-l"_qs, u"1"_qs, path});
        const QList<QByteArray> head = file.left(64).simplified().split(' '); // P5 width height 255
        if (head.size() < 4 || head[0] != "P5")
            return;
        width = head[1].toInt();
        height = head[2].toInt();
        dots = file.right(qsizetype{width} * height);
    }

    /// The dark dots inside a box around \p word, in points.
    [[nodiscard]] QSizeF inkOf(const Word &word) const
    {
        QRect ink;
        for (int y = qFloor((word.top - 1) * dotsPerPoint); y < qCeil((word.bottom + 1) * dotsPerPoint); ++y)
            for (int x = qFloor((word.left - 1) * dotsPerPoint); x < qCeil((word.right + 1) * dotsPerPoint); ++x)
                if (x >= 0 && y >= 0 && x < width && y < height && static_cast<unsigned char>(dots[qsizetype{y} * width + x]) < 128)
                    ink |= QRect(x, y, 1, 1);
        return QSizeF(ink.size()) / dotsPerPoint;
    }
};

} // namespace qm::test
