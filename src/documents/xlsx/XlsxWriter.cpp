#include "core/RuntimeError.h"
#include "documents/ReportWords.h"
#include "documents/TextScan.h"
#include "documents/Writers.h"
#include "documents/xlsx/XlsxAbout.h"
#include "documents/xlsx/XlsxChart.h"
#include "documents/xlsx/XlsxChartSheets.h"
#include "documents/xlsx/XlsxGroups.h"
#include "documents/xlsx/XlsxParts.h"
#include "documents/xlsx/XlsxText.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace qm {

namespace {

using xlsx::Border;
using xlsx::Fill;
using xlsx::Font;
using xlsx::Look;

constexpr std::int64_t kMaxSheetRows = 1048576;
constexpr std::size_t kMaxColumns = 16384;
/// A sheet ends before its part of the archive would need the wide forms of zip, which not every reader of workbooks knows.
constexpr std::uint64_t kMaxSheetBytes = std::uint64_t{3} << 30;
/// A program reads no more breaks of pages on a sheet than about so many.
constexpr std::size_t kMaxBreaks = 1000;
constexpr char kAboutName[] = "About this report", kChartsName[] = "Charts", kFiguresName[] = "Chart data";

/// A workbook: the rows on one or more sheets, then the charts, the facts, and the figures of the charts. The sheets are compressed as they
/// are written. All rows hold all their values, also those that repeat the row above: sorted or filtered, each must stand for itself.
class XlsxWriter final : public ReportWriter
{
public:
    explicit XlsxWriter(OutputFile &file) : m_zip(file), m_cells(m_zip) {}

    void begin(const ReportHead &head, const ReportShape &shape, const SampleRows &sample) override;
    void beginGroup(std::size_t level, const Value &key) override;
    void row(std::span<const Value> cells) override;
    void endGroup(const GroupEnd &group) override;
    void end(const ReportTail &tail) override;
    [[nodiscard]] WriterNotes notes() const override { return {.cellsCut = m_cells.cut(), .sheets = m_rowSheets}; }

private:
    struct Level
    {
        CellFormatter format;
        std::string caption;
        bool heading = true, newPage = false;
        std::string headingStyle, restStyle;
        xlsx::Totals totals;
        // Of the group that is open.
        std::string key = {};
        std::int64_t firstRow = 0, sheet = 0; ///< where its rows begin
    };

    void makeLevels();
    void widenForLabels(const SampleRows &sample);
    void beginSheet();
    void endSheet();
    void makeRoom(std::int64_t rows);
    void writeHeadings();
    void writeGroupHeading(const Level &level, std::size_t index, bool continued);
    void writeRow(std::span<const Value> cells, std::size_t outlineLevel);
    void writeHeldRow();
    void writeOtherSheets(const ReportTail &tail);
    template <class Write>
    void addSheet(const std::string &name, const Write &write);
    [[nodiscard]] std::vector<xlsx::Statement> statements(const ReportTail &tail) const;
    [[nodiscard]] std::string summary(const ReportTail &tail) const;

    ZipStream m_zip;
    xlsx::CellWriter m_cells;
    xlsx::Styles m_styles;
    ReportHead m_head;
    ReportShape m_shape;
    std::vector<xlsx::SheetColumn> m_columns;
    std::vector<Level> m_levels;
    std::optional<xlsx::Totals> m_totals;
    std::optional<xlsx::Outline> m_outline;
    xlsx::SheetNames m_names;
    std::string m_aboutName, m_chartsName, m_figuresName;
    std::vector<xlsx::Sheet> m_sheets;
    std::int64_t m_rowSheets = 0;
    std::int64_t m_headingRows = 0; ///< above the rows of each sheet
    std::int64_t m_lastDataRow = 0;
    std::size_t m_openLevels = 0;
    bool m_firstOfGroup = false;
    xlsx::HeldRow m_held;
    std::size_t m_heldLevel = 0; ///< of the outline
    std::vector<std::int64_t> m_breaks;
    bool m_breaksLeftOut = false;
};

void XlsxWriter::begin(const ReportHead &head, const ReportShape &shape, const SampleRows &sample)
{
    if (shape.columns.size() > kMaxColumns) {
        raise(err::reportFailed,
              QStringLiteral("The report has %1 columns; a workbook holds %2. Choose fewer columns or another format.")
                  .arg(shape.columns.size())
                  .arg(kMaxColumns),
              kFrameworkSource);
    }
    m_head = head;
    m_shape = shape;
    m_columns = xlsx::makeColumns(shape, sample, m_styles);
    m_outline.emplace(shape);
    makeLevels();
    widenForLabels(sample);
    m_aboutName = m_names.take(kAboutName);
    std::size_t drawn = 0;
    for (const ChartSpec &chart : shape.charts)
        drawn += xlsx::isDrawn(chart.kind) ? 1 : 0;
    if (!shape.charts.empty()) {
        m_chartsName = m_names.take(kChartsName);
        m_figuresName = m_names.take(kFiguresName);
    }
    xlsx::writeFirstParts(m_zip, drawn);
    beginSheet();
}

void XlsxWriter::makeLevels()
{
    static constexpr std::array<std::pair<Font, Border>, 3> kHeadings{
        {{Font::Group1, Border::Group1}, {Font::Group2, Border::Group2}, {Font::Strong, Border::None}}};
    const Look subtotal{.font = Font::Strong, .fill = Fill::Subtotal, .border = Border::Subtotal};
    for (std::size_t i = 0; i < m_shape.groups.size(); ++i) {
        const GroupLevel &group = m_shape.groups[i];
        const auto [font, border] = kHeadings[std::min(i, kHeadings.size() - 1)];
        const Look heading{.font = font, .border = border, .centred = true};
        m_levels.push_back(Level{.format = CellFormatter(group.column),
                                 .caption = group.column.caption,
                                 // A value that no column shows has no other place.
                                 .heading = group.heading || !group.shown,
                                 .newPage = group.newPage,
                                 .headingStyle = m_styles.attribute(heading),
                                 .restStyle = m_styles.attribute({.border = border}),
                                 .totals = xlsx::Totals(group.subtotals, m_shape, m_columns, subtotal, m_styles)});
    }
    if (!m_shape.totals.empty())
        m_totals.emplace(m_shape.totals, m_shape, m_columns, Look{.font = Font::Total, .fill = Fill::Total, .border = Border::Total},
                         m_styles);
}

/// The labels of totals begin in the first column, which may be a narrow one.
void XlsxWriter::widenForLabels(const SampleRows &sample)
{
    constexpr double kMost = 44;
    constexpr std::size_t kMostKey = 30, kUsualKey = 20;
    if (m_columns.empty())
        return;
    double missing = m_totals ? m_totals->missingRoom(m_columns, 0) : 0;
    for (std::size_t i = 0; i < m_levels.size(); ++i) {
        std::size_t key = m_shape.groups[i].shown ? 0 : kUsualKey;
        for (std::size_t row = 0; m_shape.groups[i].shown && row < sample.rows; ++row) {
            std::string text;
            m_levels[i].format.append(sample.row(row)[*m_shape.groups[i].shown], text);
            key = std::max(key, std::min(xlsx::textWidth(text), kMostKey));
        }
        missing = std::max(missing, m_levels[i].totals.missingRoom(m_columns, key));
    }
    xlsx::SheetColumn &first = m_columns.front();
    first.width = std::max(first.width, std::min(first.width + missing, kMost));
    first.wrapsAt = first.wrapsAt > 0 ? static_cast<std::size_t>(0.95 * first.width) : 0;
}

void XlsxWriter::writeHeadings()
{
    m_cells.line(m_styles.attribute({.font = Font::Title}), m_head.title, 24);
    if (!m_head.subtitle.empty())
        m_cells.line(m_styles.attribute({.font = Font::Subtitle}), m_head.subtitle, 16);
    // The number of rows is known only at the end; a shared string, which is written then, stands for it.
    m_cells.beginRow(18, 0, true);
    m_zip.write("<c" + m_styles.attribute({.font = Font::Subtitle}) + " t=\"s\"><v>0</v></c>");
    m_cells.endRow();
    std::size_t lines = 1;
    for (std::size_t i = 0; i < m_columns.size(); ++i)
        lines = std::max(lines, xlsx::headingLines(m_shape.columns[i].caption, m_columns[i].width));
    m_cells.beginRow(xlsx::kLineHeight * static_cast<double>(lines) + 10.5, 0, true);
    for (std::size_t i = 0; i < m_columns.size(); ++i)
        m_cells.text(m_styles.attribute({.font = Font::Heading,
                                         .fill = Fill::Heading,
                                         .border = Border::Heading,
                                         .alignment = m_shape.columns[i].alignment,
                                         .centred = true,
                                         .wrap = true}),
                     m_shape.columns[i].caption);
    m_cells.endRow();
}

void XlsxWriter::beginSheet()
{
    m_sheets.push_back({m_names.take(m_head.title), {}, {}});
    ++m_rowSheets;
    m_zip.open("xl/worksheets/sheet" + std::to_string(m_sheets.size()) + ".xml");
    m_headingRows = m_head.subtitle.empty() ? 3 : 4;
    const std::string heads = std::to_string(m_headingRows), below = std::to_string(m_headingRows + 1);
    const std::size_t deepest = m_outline->deepest();
    m_zip.write(xlsx::kSheetStart);
    m_zip.write(textscan::joined(
        {"<sheetPr>", m_outline->summaryBelow() ? "" : "<outlinePr summaryBelow=\"0\"/>",
         "<pageSetUpPr fitToPage=\"1\"/></sheetPr><sheetViews><sheetView ", m_sheets.size() == 1 ? "tabSelected=\"1\" " : "",
         "workbookViewId=\"0\"><pane ySplit=\"", heads, "\" topLeftCell=\"A", below,
         "\" activePane=\"bottomLeft\" state=\"frozen\"/></sheetView></sheetViews><sheetFormatPr defaultRowHeight=\"13.5\"",
         deepest > 0 ? " outlineLevelRow=\"" + std::to_string(deepest) + '"' : std::string(), "/>"}));
    std::vector<double> widths;
    for (xlsx::SheetColumn &column : m_columns) {
        widths.push_back(column.width);
        column.lastText = column.lastBlank = column.lastLabel = column.lastFixed = 0;
    }
    m_zip.write(xlsx::columnWidths(widths));
    m_zip.write("<sheetData>");
    m_cells.restart();
    writeHeadings();
    m_lastDataRow = m_cells.at();
}

void XlsxWriter::endSheet()
{
    m_zip.write("</sheetData>");
    if (!m_columns.empty()) {
        const std::string last = xlsx::columnLetters(m_columns.size() - 1);
        const std::string top = std::to_string(m_headingRows), bottom = std::to_string(m_lastDataRow);
        m_zip.write("<autoFilter ref=\"A" + top + ':' + last + bottom + "\"/>");
        m_sheets.back().filter = "$A$" + top + ":$" + last + '$' + bottom;
        m_sheets.back().titles = "$" + top + ":$" + top;
    }
    m_zip.write(xlsx::pageElements(m_head, m_head.page.widthMm > m_head.page.heightMm) + xlsx::rowBreaks(m_breaks) + "</worksheet>");
    m_zip.close();
    m_breaks.clear();
}

/// Goes on to a new sheet where \p rows more have no room on this one.
void XlsxWriter::makeRoom(std::int64_t rows)
{
    if (m_cells.at() + rows <= kMaxSheetRows && m_zip.memberSize() <= kMaxSheetBytes)
        return;
    endSheet();
    beginSheet();
    for (std::size_t i = 0; i < m_openLevels; ++i)
        if (m_levels[i].heading)
            writeGroupHeading(m_levels[i], i, true);
}

void XlsxWriter::writeGroupHeading(const Level &level, std::size_t index, bool continued)
{
    std::string text = level.caption.empty() ? level.key : level.caption + ": " + level.key;
    text += continued ? " (continued)" : "";
    m_cells.beginRow(index == 0 ? 21 : 18, m_outline->levelOf(index), true);
    m_cells.text(level.headingStyle, text);
    for (std::size_t i = 1; i < m_columns.size(); ++i)
        m_cells.empty(level.restStyle);
    m_cells.endRow();
    if (!m_columns.empty())
        m_columns.front().lastLabel = m_cells.at();
}

void XlsxWriter::writeRow(std::span<const Value> cells, std::size_t outlineLevel)
{
    makeRoom(1);
    m_cells.row(cells, m_columns, outlineLevel);
    m_lastDataRow = m_cells.at();
}

void XlsxWriter::writeHeldRow()
{
    if (m_held.isHeld())
        writeRow(m_held.release(), m_heldLevel);
}

void XlsxWriter::beginGroup(std::size_t index, const Value &key)
{
    constexpr std::int64_t kRowsWithHeading = 4;
    writeHeldRow();
    Level &level = m_levels[index];
    level.key.clear();
    if (key.isNull() && m_shape.groups[index].column.nullText.empty())
        level.key = "\xE2\x80\x93";
    else if (key.isNull())
        level.key = m_shape.groups[index].column.nullText;
    else
        level.format.append(key, level.key);
    makeRoom(kRowsWithHeading);
    if (level.newPage && m_lastDataRow > m_headingRows && (m_breaks.empty() || m_breaks.back() != m_cells.at())) {
        if (m_breaks.size() < kMaxBreaks)
            m_breaks.push_back(m_cells.at());
        else
            m_breaksLeftOut = true;
    }
    if (level.heading)
        writeGroupHeading(level, index, false);
    level.firstRow = m_cells.at() + 1;
    level.sheet = m_rowSheets;
    m_openLevels = index + 1;
    m_firstOfGroup = true;
}

void XlsxWriter::row(std::span<const Value> cells)
{
    if (m_levels.empty()) {
        writeRow(cells, 0);
        return;
    }
    // A row that stays alone in its group must not fold: there would be nothing left to see of it.
    if (m_firstOfGroup) {
        m_held.hold(cells);
        m_heldLevel = m_outline->deepest();
        m_firstOfGroup = false;
        return;
    }
    writeHeldRow();
    writeRow(cells, m_outline->deepest());
}

void XlsxWriter::endGroup(const GroupEnd &group)
{
    Level &level = m_levels[group.level];
    const std::size_t outlineLevel = m_outline->levelOf(group.level);
    if (group.rows > 1) {
        writeHeldRow();
        makeRoom(static_cast<std::int64_t>(level.totals.lines()));
        // What began on another sheet is out of the reach of a formula.
        level.totals.write(m_cells, m_columns, group.cut ? level.key + " (cut off by the row limit)" : level.key, group.subtotals,
                           level.sheet == m_rowSheets ? level.firstRow : 0, outlineLevel);
    }
    m_heldLevel = std::min(m_heldLevel, outlineLevel);
    m_openLevels = group.level;
}

std::string XlsxWriter::summary(const ReportTail &tail) const
{
    std::string text = tail.rows == 0 ? std::string(kNoRows) + ": nothing matched what was asked for." : rowsText(tail.rows) + '.';
    if (tail.truncated)
        text = "Not complete. " + cutNotice(tail);
    if (m_rowSheets > 1)
        text += " On " + std::to_string(m_rowSheets) + " sheets.";
    const std::size_t notices = m_head.notices.size() + tail.notices.size();
    if (notices > 0)
        return text + " Read the " + (notices == 1 ? "notice" : std::to_string(notices) + " notices") + " on the sheet \"" + m_aboutName +
               "\".";
    return text + " More on the sheet \"" + m_aboutName + "\".";
}

std::vector<xlsx::Statement> XlsxWriter::statements(const ReportTail &tail) const
{
    std::vector<xlsx::Statement> all{{"Rows", rowsText(tail.rows)}};
    if (tail.truncated)
        all.emplace_back("Not complete", cutNotice(tail));
    if (m_rowSheets > 1)
        all.emplace_back("Sheets", std::to_string(m_rowSheets));
    if (m_rowSheets > 1 && (m_totals || !m_levels.empty()))
        all.emplace_back("Totals", "Those of rows on more than one sheet are values; the others are formulas.");
    if (m_breaksLeftOut)
        all.emplace_back("Pages", "Only the first " + numbers::counted(kMaxBreaks, "group", "groups") +
                                      " of a sheet begin a new page when it is printed: a sheet holds no more breaks.");
    if (m_cells.cut() > 0) {
        all.emplace_back("Cells cut", numbers::counted(m_cells.cut(), "cell was", "cells were") +
                                          " longer than a workbook holds (32,767 characters) and cut; each says so at its end.");
    }
    return all;
}

template <class Write>
void XlsxWriter::addSheet(const std::string &name, const Write &write)
{
    m_sheets.push_back({name, {}, {}});
    m_zip.open("xl/worksheets/sheet" + std::to_string(m_sheets.size()) + ".xml");
    write();
    m_zip.close();
}

void XlsxWriter::writeOtherSheets(const ReportTail &tail)
{
    xlsx::ChartSheets charts(m_shape.charts, tail.charts, m_figuresName);
    if (!m_shape.charts.empty()) {
        addSheet(m_chartsName, [&] { charts.writeCharts(m_zip, m_cells, m_styles, m_head); });
        charts.writeDrawing(m_zip, m_sheets.size());
    }
    addSheet(m_aboutName, [&] { xlsx::writeAbout(m_zip, m_cells, m_styles, m_head, m_shape, tail, statements(tail)); });
    if (!m_shape.charts.empty())
        addSheet(m_figuresName, [&] { charts.writeFigures(m_zip, m_cells, m_styles, m_head); });
}

void XlsxWriter::end(const ReportTail &tail)
{
    writeHeldRow();
    if (m_totals && tail.rows > 0) {
        makeRoom(static_cast<std::int64_t>(m_totals->lines()));
        m_totals->write(m_cells, m_columns, tail.truncated ? "Of the rows shown" : "", tail.totals,
                        m_rowSheets == 1 ? m_headingRows + 1 : 0, 0);
    }
    endSheet();
    const std::string text = summary(tail);
    writeOtherSheets(tail);
    xlsx::writeLastParts(m_zip, m_head, m_styles.part(), m_sheets, text);
    m_zip.finish();
}

} // namespace

std::unique_ptr<ReportWriter> makeXlsxWriter(OutputFile &file, const WriterOptions &)
{
    return std::make_unique<XlsxWriter>(file);
}

} // namespace qm
