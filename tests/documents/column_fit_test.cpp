// How columns share a page, with widths worked out by hand. Em: thousandths of the letter size; 7.5 point letters make 1000 of them 75
// tenths of a point.
#include "documents/columns/ColumnFit.h"
#include "documents/columns/LineSharing.h"

#include <QtTest>

#include <algorithm>
#include <numeric>
#include <random>

using namespace qm::columns;
using namespace Qt::StringLiterals;

namespace {

/// Texts of words of the given widths with blanks of 200 between them; 0 is a line end.
SampleTexts texts(std::initializer_list<std::initializer_list<Em>> cells)
{
    SampleTexts made;
    for (const auto &cell : cells) {
        for (const Em word : cell)
            if (word == 0)
                made.endLine();
            else
                made.addPiece(word, 200);
        made.endCell();
    }
    return made;
}

Column whole(Em floor, bool right = false)
{
    return {.kind = Kind::Whole, .right = right, .floor = floor, .wish = floor};
}

Column text(Em floor, Em wish, SampleTexts sample = {})
{
    return {.kind = Kind::Text, .floor = floor, .wish = wish, .texts = std::move(sample)};
}

std::vector<Tenths> widths(const Fit &fit)
{
    std::vector<Tenths> all;
    for (const Box &box : fit.boxes)
        all.push_back(box.right - box.left);
    return all;
}

using Widths = std::vector<Tenths>;
using Indices = std::vector<std::size_t>;

} // namespace

class ColumnFitTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lines_are_counted_as_they_break()
    {
        const SampleTexts sample = texts({{1000, 1000, 1000}, {}, {500, 0, 0, 500}, {2500}, {300, 2500, 300}});
        // 1000 + 200 + 1000: two words to a line; the blank at its end needs no room.
        QCOMPARE(sample.lines(0, 2200), 2U);
        QCOMPARE(sample.lines(0, 2199), 3U);
        QCOMPARE(sample.lines(0, 3400), 1U);
        QCOMPARE(sample.lines(1, 1), 1U);
        QCOMPARE(sample.lines(2, 9999), 3U);
        QCOMPARE(sample.lines(3, 1000), 3U);
        QCOMPARE(sample.lines(4, 1000), 4U); // 300 | 1000 | 1000 | 500 200 300
        QCOMPARE(sample.natural(4), 3500);
    }

    void few_wishes_keep_their_width_and_more_stretch_texts_only()
    {
        // Floors of 2000 are 150 tenths, wishes of 8000 are 600. Edges 60 + 60; right to left 160, else 120.
        const std::vector<Column> columns{whole(2000, true), text(2000, 8000), whole(2000)};
        const Fit natural = fitColumns(columns, {2000}, false); // 120 + 160 + 120 + 900 = 1300: 65 %
        QCOMPARE(natural.letters, 75);
        QCOMPARE(widths(natural), (Widths{150, 600, 150}));
        QCOMPARE(natural.boxes[0].left, 60);
        QCOMPARE(natural.boxes[1].left, 60 + 150 + 160);
        QCOMPARE(natural.boxes[2].left, 60 + 150 + 160 + 600 + 120);
        QCOMPARE(natural.width, 1300);
        QCOMPARE(widths(fitColumns(columns, {1858}, false)), (Widths{150, 600, 150}));             // 69.97 %
        QCOMPARE(widths(fitColumns(columns, {1857}, false)), (Widths{150, 1157, 150}));            // 70.01 %
        QCOMPARE(widths(fitColumns(columns, {1300}, false)), (Widths{150, 600, 150}));             // all of it
        QCOMPARE(widths(fitColumns(columns, {1200}, false)), (Widths{150, 500, 150}));             // the wish gives way, no floor
        QCOMPARE(widths(fitColumns(std::vector{text(2000, 90000)}, {9000}, false)), Widths{2551}); // no wish above 90 mm
        QCOMPARE(widths(fitColumns(std::vector{whole(10000)}, {900}, false)), Widths{750});        // nothing to stretch
    }

    void widths_of_the_layout_stay_while_all_floors_fit()
    {
        std::vector<Column> columns{text(2000, 3000), text(2000, 9000), whole(4000)};
        columns[0].given = 1000; // 1000 less the edge and half of a gutter
        QCOMPARE(widths(fitColumns(columns, {2200}, false)), (Widths{880, 660, 300}));
        columns[2].given = 300; // less than its floor needs: the floor
        QCOMPARE(widths(fitColumns(columns, {2200}, false)), (Widths{880, 660, 300}));
        // 1500 less 360 of edges and gutters: floors take 600, what is above them of the first column is cut from 730 to 540.
        QCOMPARE(widths(fitColumns(columns, {1500}, false)), (Widths{690, 150, 300}));
    }

    void what_does_not_fit_shrinks_then_loses_columns_then_takes_a3_then_becomes_cards()
    {
        std::vector<Column> columns{whole(10000), whole(10000), whole(10000), whole(10000)}; // 3000 + 480 at 7.5
        const auto fit = [&](Tenths page, bool all, Tenths larger = 0) { return fitColumns(columns, {page, larger}, all); };
        QCOMPARE(fit(3480, true).letters, 75);
        QCOMPARE(fit(3479, true).letters, 70);
        QCOMPARE(fit(3280, true).letters, 70);
        QCOMPARE(fit(3279, true).letters, 65);
        QCOMPARE(fit(3080, true).letters, 65);
        QVERIFY(fit(3079, true).cards);
        QVERIFY(fit(3079, true).boxes.empty());
        columns[1].valueless = true;
        columns[3].constant = true;
        const Fit without = fit(3079, true); // three need 2250 + 360
        QCOMPARE(without.leftOut, Indices{1});
        QCOMPARE(without.saidOnce, Indices{});
        QCOMPARE(without.shown, (Indices{0, 2, 3}));
        QCOMPARE(without.letters, 75);
        const Fit two = fit(2000, true, 5000); // two need 1500 + 240
        QCOMPARE(two.saidOnce, Indices{3});
        QCOMPARE(two.shown, (Indices{0, 2}));
        QVERIFY(!two.larger && !two.cards);
        const Fit larger = fit(1000, true, 3480);
        QVERIFY(larger.larger && !larger.cards);
        QCOMPARE(larger.shown, (Indices{0, 2}));
        // A sample that is not all there is proves nothing about the rows behind it.
        QVERIFY(fit(3079, false).cards);
        QCOMPARE(fit(3079, false).shown.size(), std::size_t{4});
        QVERIFY(fit(3079, false, 3480).larger);
        // One column stays, whatever it holds.
        columns = {whole(10000), whole(10000)};
        columns[0].valueless = columns[1].valueless = true;
        QCOMPARE(fit(1000, true).shown, Indices{0});
    }

    void texts_share_so_that_the_sample_takes_the_fewest_lines()
    {
        // Two columns of 2000 and 4000 at the least, 10000 between them: the long texts of the second need 8000 for two lines; a row is as
        // high as its highest cell, so the first one's short texts may take two as well.
        const SampleTexts shorter = texts({{1000, 1000}, {1000, 1000}}),
                          longer = texts({{3900, 3900, 3900, 3900}, {3900, 3900, 3900, 3900}});
        const std::vector<Sharer> sharers{{&shorter, 75}, {&longer, 300}};
        const auto shares = shareForFewestLines(sharers, 750 - 375, 75);
        QCOMPARE(std::accumulate(shares.begin(), shares.end(), 0), 375);
        QVERIFY2(300 + shares[1] >= 600 && 75 + shares[0] >= 75, qPrintable(QString::number(shares[1])));
        // What no line needs goes to all in the ratio of their widths.
        const auto spare = shareForFewestLines(sharers, 10000, 75);
        QCOMPARE(std::accumulate(spare.begin(), spare.end(), 0), 10000);
        QVERIFY(75 + spare[0] > 165 * 5 && 300 + spare[1] > 1230 * 5);
        QCOMPARE(shareForFewestLines({}, 100, 75), Widths{});
    }

    /// Against all ways to share, in steps of a fiftieth.
    void sharing_comes_close_to_the_best_there_is()
    {
        std::mt19937 random(7);
        const auto number = [&](int from, int to) { return from + static_cast<int>(random() % static_cast<unsigned>(to - from + 1)); };
        std::int64_t found = 0, best = 0;
        for (int round = 0; round < 20; ++round) {
            std::vector<SampleTexts> samples(3);
            for (SampleTexts &sample : samples) {
                const int words = number(1, 30);
                for (int row = 0; row < 30; ++row) {
                    for (int word = number(0, words); word > 0; --word)
                        sample.addPiece(number(300, 4000), 300);
                    sample.endCell();
                }
            }
            const std::vector<Sharer> sharers{{&samples[0], 300}, {&samples[1], 300}, {&samples[2], 300}};
            constexpr Tenths kRoom = 3000;
            const auto linesWith = [&](const Widths &shares) {
                std::int64_t lines = 0;
                for (std::size_t row = 0; row < 30; ++row) {
                    std::uint32_t most = 1;
                    for (std::size_t i = 0; i < 3; ++i)
                        most = std::max(most, samples[i].lines(row, (300 + shares[i]) * 1000 / 75));
                    lines += most;
                }
                return lines;
            };
            const Widths shares = shareForFewestLines(sharers, kRoom, 75);
            QCOMPARE(std::accumulate(shares.begin(), shares.end(), 0), kRoom);
            found += linesWith(shares);
            std::int64_t least = linesWith(shares);
            for (Tenths first = 0; first <= kRoom; first += kRoom / 50)
                for (Tenths second = 0; first + second <= kRoom; second += kRoom / 50)
                    least = std::min(least, linesWith({first, second, kRoom - first - second}));
            best += least;
        }
        QVERIFY2(found * 100 <= best * 101, qPrintable(u"%1 lines, at best %2"_qs.arg(found).arg(best)));
    }

    void any_columns_fit_or_become_cards()
    {
        std::mt19937 random(11);
        const auto number = [&](int from, int to) { return from + static_cast<int>(random() % static_cast<unsigned>(to - from + 1)); };
        int tables = 0, cards = 0;
        for (int round = 0; round < 3000; ++round) {
            std::vector<Column> columns(static_cast<std::size_t>(number(1, 25)));
            for (Column &column : columns) {
                column.kind = number(0, 1) == 0 ? Kind::Whole : Kind::Text;
                column.right = number(0, 2) == 0;
                column.floor = number(0, 9000);
                column.wish = column.floor + number(0, 40000);
                column.given = number(0, 3) == 0 ? number(1, 6000) : 0;
                column.valueless = number(0, 5) == 0;
                column.constant = !column.valueless && number(0, 5) == 0;
                for (int row = number(0, 5); column.kind == Kind::Text && row > 0; --row) {
                    for (int word = number(0, 20); word > 0; --word)
                        column.texts.addPiece(number(0, 5000), 300);
                    column.texts.endCell();
                }
            }
            const Page page{number(500, 15000), number(0, 1) == 0 ? number(500, 20000) : 0};
            const bool all = number(0, 1) == 0;
            const Fit fit = fitColumns(columns, page, all);
            QCOMPARE(fit.shown.size() + fit.leftOut.size() + fit.saidOnce.size(), columns.size());
            QVERIFY(!fit.shown.empty() && std::is_sorted(fit.shown.begin(), fit.shown.end()));
            QVERIFY(all || fit.shown.size() == columns.size());
            for (const std::size_t index : fit.leftOut)
                QVERIFY(columns[index].valueless);
            for (const std::size_t index : fit.saidOnce)
                QVERIFY(columns[index].constant);
            if (fit.cards) {
                ++cards;
                QVERIFY(fit.boxes.empty());
                continue;
            }
            ++tables;
            QCOMPARE(fit.boxes.size(), fit.shown.size());
            QVERIFY(fit.letters >= 65 && fit.letters <= 75);
            QVERIFY(fit.width <= (fit.larger ? page.larger : page.width));
            Tenths end = 0;
            for (std::size_t i = 0; i < fit.boxes.size(); ++i) {
                const Column &column = columns[fit.shown[i]];
                const bool wide = i > 0 && columns[fit.shown[i - 1]].right && !column.right;
                QCOMPARE(fit.boxes[i].left - end, i == 0 ? 60 : wide ? 160 : 120);
                QVERIFY(std::int64_t{fit.boxes[i].right - fit.boxes[i].left} * 1000 / fit.letters >= column.floor);
                end = fit.boxes[i].right;
            }
            QCOMPARE(fit.width, end + 60);
        }
        QVERIFY(tables > 300 && cards > 300);
    }
};

QTEST_GUILESS_MAIN(ColumnFitTest)
#include "column_fit_test.moc"
