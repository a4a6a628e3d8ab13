#include "documents/ReportWords.h"
#include "documents/TextScan.h"
#include "documents/Writers.h"
#include "documents/html/ChartSvg.h"
#include "documents/html/HtmlCells.h"
#include "documents/html/HtmlContents.h"
#include "documents/html/HtmlFirst.h"
#include "documents/html/HtmlStyle.h"
#include "documents/html/HtmlText.h"

#include <QCryptographicHash>

namespace qm {

namespace {

using textscan::joined;

/// Bytes kept for what is known only at the end but stands above the rows. Blanks there are not shown.
constexpr std::size_t kCountField = 192, kNoticeField = 1536, kFigureField = 192;
/// Bytes kept beside a group's heading for the number of its rows.
constexpr std::size_t kGroupCountField = 16;
constexpr std::string_view kCutMark = " (cut off by the row limit)";

/// One page that needs nothing else: no scripts, nothing loaded, no links but to its own groups; the policy in its head holds the browser
/// to that. Memory does not grow with the rows nor, beyond a bound, with the groups.
class HtmlWriter final : public ReportWriter
{
public:
    explicit HtmlWriter(OutputFile &file) : m_file(file) {}

    void begin(const ReportHead &head, const ReportShape &shape, const SampleRows &sample) override;
    void beginGroup(std::size_t level, const Value &key) override;
    void row(std::span<const Value> cells) override;
    void endGroup(const GroupEnd &group) override;
    void end(const ReportTail &tail) override;

private:
    /// A level of groups, and what of it is open.
    struct Level
    {
        explicit Level(const GroupLevel &level, std::size_t columns, bool labelled)
            : given(level), format(level.column), sums(level.subtotals, columns, labelled)
        {
        }
        GroupLevel given;
        CellFormatter format;
        HtmlSums sums;
        std::string heading; ///< of the group that begins, written with the first row group it holds
        std::uint64_t countField = 0;
    };

    [[nodiscard]] std::uint64_t keep(std::size_t bytes);
    void writeDocumentHead(const ReportHead &head, const std::string &style);
    void writeReportHead(const ReportHead &head);
    void writeFacts();
    void openRowGroup(std::size_t outermost);
    void writeGroupedRow(std::span<const Value> cells);
    void writeNoRows();
    [[nodiscard]] std::string keyText(const Level &level, const Value &key) const;

    OutputFile &m_file;
    ReportShape m_shape;
    std::vector<HtmlCell> m_cells;
    std::vector<Level> m_levels;
    std::unique_ptr<HtmlSums> m_totals;
    HtmlContents m_contents;
    std::vector<char> m_silent;  ///< per column: its value stands in the heading or in a row above
    std::size_t m_outermost = 0; ///< of the groups that begin
    bool m_firstRow = false, m_rowGroupOpen = false;
    std::vector<Fact> m_facts;
    std::vector<std::string> m_notices;
    std::uint64_t m_countField = 0, m_noticeField = 0;
    std::vector<std::uint64_t> m_figureFields;
};

/// Keeps \p bytes in the file to be filled in later. \returns where they are.
std::uint64_t HtmlWriter::keep(std::size_t bytes)
{
    const std::uint64_t at = m_file.position();
    m_file.write(std::string(bytes, ' '));
    return at;
}

void HtmlWriter::writeDocumentHead(const ReportHead &head, const std::string &style)
{
    const QByteArray hash = QCryptographicHash::hash(QByteArrayView(style), QCryptographicHash::Sha256).toBase64();
    m_file.write(
        "<!doctype html>\n<html lang=\"" + escaped(head.language) + "\">\n<head>\n<meta charset=\"utf-8\">\n" +
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'sha256-" + hash.toStdString() +
        "'; base-uri 'none'; form-action 'none'\">\n" +
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<meta name=\"color-scheme\" content=\"light dark\">\n" +
        "<meta name=\"generator\" content=\"Quillmark Report Generator\">\n<title>" + escaped(head.title) + "</title>\n<style>" + style +
        "</style>\n</head>\n");
}

/// The strip below the title: period, rows, what was asked for, then where it came from and how.
void HtmlWriter::writeFacts()
{
    using Kind = Fact::Kind;
    const auto state = [this](const Fact &fact) {
        m_file.write("<div><dt>" + escaped(fact.label) + "</dt><dd>");
        const std::size_t line = fact.kind == Kind::Period ? fact.value.find('\n') : 0;
        if (fact.kind == Kind::Period)
            m_file.write("<strong>" + escaped(std::string_view(fact.value).substr(0, line)) + "</strong>");
        if (line != std::string::npos)
            m_file.write(escaped(std::string_view(fact.value).substr(line)));
        m_file.write("</dd></div>\n");
    };
    const auto stateAll = [&](std::initializer_list<Kind> kinds) {
        for (const Kind kind : kinds)
            for (const Fact &fact : m_facts)
                if (fact.kind == kind)
                    state(fact);
    };
    m_file.write("<dl class=\"facts\">\n");
    stateAll({Kind::Period});
    m_file.write("<div><dt>Rows</dt><dd class=\"count\">");
    m_countField = keep(kCountField);
    m_file.write("</dd></div>\n");
    stateAll({Kind::Parameter, Kind::Selection, Kind::Source, Kind::Times, Kind::Package, Kind::Group, Kind::Query, Kind::Made});
    m_file.write("</dl>\n");
}

void HtmlWriter::writeReportHead(const ReportHead &head)
{
    m_file.write("<body>\n<header>\n<h1>" + escaped(head.title) + "</h1>\n");
    if (!head.subtitle.empty())
        m_file.write("<p class=\"subtitle\">" + escaped(head.subtitle) + "</p>\n");
    writeFacts();
    m_file.write(htmlNotices(m_notices));
    m_noticeField = keep(kNoticeField);
    if (!m_shape.keyFigures.empty()) {
        m_file.write("\n<dl class=\"figures\">\n");
        for (const KeyFigure &figure : m_shape.keyFigures) {
            m_file.write("<div><dt>" + escaped(figure.caption) + "</dt><dd>");
            m_figureFields.push_back(keep(kFigureField));
            m_file.write("</dd></div>\n");
        }
        m_file.write("</dl>");
    }
    m_file.write("\n</header>\n");
}

void HtmlWriter::begin(const ReportHead &head, const ReportShape &shape, const SampleRows &sample)
{
    m_file.expectPatch();
    m_shape = shape;
    m_facts = head.facts;
    m_notices = head.notices;
    const auto columns = std::span(m_shape.columns).first(m_shape.columns.size() - m_shape.hidden);
    const HtmlColumns look = htmlColumns(m_shape, sample, head.page);
    for (GroupLevel &level : m_shape.groups) {
        // A card that says nothing of its group, with no heading above, is a riddle.
        level.suppressRepeats = level.suppressRepeats && (level.heading || !look.cards);
        m_levels.emplace_back(level, columns.size(), look.cards);
    }
    m_totals = std::make_unique<HtmlSums>(m_shape.totals, columns.size(), look.cards);
    m_silent.assign(columns.size(), 0);

    writeDocumentHead(head, htmlStyleSheet(head, look) + (m_shape.charts.empty() ? std::string() : chartStyleSheet()));
    writeReportHead(head);
    const bool charted = !m_shape.charts.empty() || m_shape.top;
    m_file.write(charted ? "<main class=\"ordered charted\">\n" : m_levels.empty() ? "<main>\n" : "<main class=\"ordered\">\n");
    m_file.write("<div class=\"rows\" role=\"region\" aria-label=\"Rows\" tabindex=\"0\">\n<table>\n<thead><tr>");
    for (const ReportColumn &column : columns) {
        m_cells.emplace_back(column);
        m_file.write("<th scope=\"col\">" + escaped(column.caption) + "</th>");
    }
    m_file.write("</tr></thead>\n");
    if (m_levels.empty()) {
        m_file.write("<tbody>\n");
        m_rowGroupOpen = true;
    }
}

std::string HtmlWriter::keyText(const Level &level, const Value &key) const
{
    if (key.isNull())
        return level.given.column.nullText.empty() ? std::string(kHtmlNull) : level.given.column.nullText;
    std::string text;
    appendShown(level.format, key, text);
    return text.empty() ? "(empty)" : text;
}

void HtmlWriter::beginGroup(std::size_t level, const Value &key)
{
    Level &begun = m_levels[level];
    const std::string text = keyText(begun, key);
    if (level == 0)
        m_contents.add(text);
    if (begun.given.heading) {
        const std::string caption = escaped(begun.given.column.caption);
        begun.heading = joined({caption, caption.empty() ? "" : ": ", "<bdi>", escaped(text), "</bdi>"});
    }
    if (begun.given.shown && begun.given.suppressRepeats && *begun.given.shown < m_silent.size())
        m_silent[*begun.given.shown] = begun.given.heading;
    m_firstRow = true;
    m_outermost = std::min(m_outermost, level);
    if (level + 1 == m_levels.size()) {
        openRowGroup(m_outermost);
        m_outermost = m_levels.size();
    }
}

/// One row group for each innermost group; the headings of those outside that begin with it are its first rows.
void HtmlWriter::openRowGroup(std::size_t outermost)
{
    const bool first = !m_rowGroupOpen;
    if (!first)
        m_file.write("</tbody>\n");
    m_rowGroupOpen = true;
    bool page = false, joins = false;
    for (std::size_t i = outermost; i < m_levels.size(); ++i)
        page = page || m_levels[i].given.newPage;
    for (std::size_t i = 0; i < outermost; ++i)
        joins = joins || m_levels[i].given.keepTogether;
    m_file.write("<tbody");
    if (outermost == 0)
        m_file.write(" id=\"g" + std::to_string(m_contents.groups()) + '"');
    const bool keeps = m_levels.back().given.keepTogether;
    page = page && !first;
    if (page || joins || keeps)
        m_file.write(joined({" class=\"", page ? "page " : joins ? "joined " : "", keeps ? "keep" : "", "\""}));
    m_file.write(">\n");
    const std::string span = std::to_string(m_cells.size());
    for (std::size_t i = outermost; i < m_levels.size(); ++i) {
        Level &level = m_levels[i];
        if (!level.given.heading)
            continue;
        m_file.write(joined({"<tr class=\"g",
                             i == 0   ? "1"
                             : i == 1 ? "2"
                                      : "3",
                             "\"><th scope=\"rowgroup\" colspan=\"", span, "\">", level.heading, "<small>"}));
        level.countField = keep(kGroupCountField);
        m_file.write("</small></th></tr>\n");
    }
}

void HtmlWriter::row(std::span<const Value> cells)
{
    if (!m_levels.empty()) {
        writeGroupedRow(cells);
        return;
    }
    m_file.write("<tr>");
    for (std::size_t i = 0; i < m_cells.size(); ++i)
        m_cells[i].write(cells[i], m_file);
    m_file.write("</tr>\n");
}

void HtmlWriter::writeGroupedRow(std::span<const Value> cells)
{
    m_file.write("<tr>");
    for (std::size_t i = 0; i < m_cells.size(); ++i)
        if (m_silent[i] != 0)
            m_file.write("<td></td>");
        else
            m_cells[i].write(cells[i], m_file);
    m_file.write("</tr>\n");
    if (!m_firstRow)
        return;
    m_firstRow = false;
    for (const Level &level : m_levels)
        if (level.given.shown && level.given.suppressRepeats && *level.given.shown < m_silent.size())
            m_silent[*level.given.shown] = 1;
}

void HtmlWriter::endGroup(const GroupEnd &group)
{
    const Level &level = m_levels[group.level];
    if (level.given.heading) {
        std::string count = rowsText(group.rows);
        if (count.size() > kGroupCountField)
            count.resize(count.find(' '));
        m_file.patch(level.countField, std::string_view(count).substr(0, kGroupCountField));
    }
    const bool sums = group.rows > 1 && !level.sums.empty();
    if (!sums && !group.cut)
        return;
    const std::string key = escaped(keyText(level, group.key));
    if (sums)
        level.sums.write("sub", key, group.cut ? kCutMark : "", group.subtotals, m_file);
    else
        m_file.write(joined({"<tr class=\"sub\"><th scope=\"row\" colspan=\"", std::to_string(m_cells.size()), "\"><bdi>", key, "</bdi>",
                             kCutMark, "</th></tr>\n"}));
}

/// Says what was asked, so that an empty page is an answer and not a riddle.
void HtmlWriter::writeNoRows()
{
    m_file.write(std::string("<p class=\"none\"><strong>") + kNoRows + "</strong>Nothing matched what was asked for");
    const char *separator = ": ";
    for (const Fact &fact : m_facts) {
        if (fact.kind == Fact::Kind::Made || fact.kind == Fact::Kind::Times)
            continue; // says how the report came about, not what was asked
        m_file.write(separator + escaped(fact.label) + " <bdi>" + escaped(fact.value) + "</bdi>");
        separator = "; ";
    }
    m_file.write(".</p>\n");
}

void HtmlWriter::end(const ReportTail &tail)
{
    if (m_rowGroupOpen)
        m_file.write("</tbody>\n");
    if (!m_totals->empty() && tail.rows > 0) {
        m_file.write("<tfoot>\n");
        m_totals->write("total", {}, tail.truncated ? " (of the rows shown)" : "", tail.totals, m_file);
        m_file.write("</tfoot>\n");
    }
    m_file.write("</table>\n</div>\n");
    const std::string rows = rowsText(tail.rows);
    std::string count = "<strong>" + rows + "</strong>";
    std::vector<std::string> late = tail.notices;
    if (tail.truncated) {
        count = "<strong class=\"cut\">" + firstRowsText(tail) + "</strong>: " + limitText(tail);
        late.insert(late.begin(), "This report is not complete. " + cutNotice(tail));
    }
    if (tail.rows == 0 && !tail.truncated)
        writeNoRows();
    else
        m_file.write(htmlLatePart(m_shape, tail));
    m_file.write(m_contents.markup());
    m_notices.insert(m_notices.end(), late.begin(), late.end());
    m_file.write(htmlNotices(m_notices));
    m_file.write("</main>\n<footer><p>End of the report, " + rows + ".</p></footer>\n</body>\n</html>\n");

    m_file.patch(m_countField, count);
    m_file.patch(m_noticeField, htmlNoticesWithin(late, kNoticeField));
    for (std::size_t i = 0; i < m_figureFields.size(); ++i)
        m_file.patch(m_figureFields[i],
                     htmlFigure(m_shape.keyFigures[i], i < tail.keyFigures.size() ? tail.keyFigures[i] : Value(), kFigureField));
}

} // namespace

std::unique_ptr<ReportWriter> makeHtmlWriter(OutputFile &file, const WriterOptions &)
{
    return std::make_unique<HtmlWriter>(file);
}

} // namespace qm
