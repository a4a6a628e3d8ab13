#include "documents/CellFormat.h"
#include "documents/ReportWords.h"
#include "documents/TextScan.h"
#include "documents/Writers.h"
#include "documents/html/HtmlStyle.h"
#include "documents/html/HtmlText.h"

#include <QCryptographicHash>

namespace qm {

namespace {

/// Bytes kept in the head for the number of rows, which is known only at the end. Blanks there are not shown.
constexpr std::size_t kCountField = 192;

/// One page that needs nothing else: no scripts, no links, nothing loaded; the policy in its head holds the browser to that.
class HtmlWriter final : public ReportWriter
{
public:
    explicit HtmlWriter(OutputFile &file) : m_file(file) {}

    void begin(const ReportHead &head, const ReportShape &shape, const SampleRows &sample) override;
    void row(std::span<const Value> cells) override;
    void end(const ReportTail &tail) override;

private:
    void writeDocumentHead(const ReportHead &head, std::span<const ReportColumn> columns);
    void writeReportHead(const ReportHead &head);
    void writeCell(const Value &value, const CellFormatter &format);
    void writeNoRows();

    OutputFile &m_file;
    std::vector<CellFormatter> m_formats;
    std::vector<Fact> m_facts;
    std::uint64_t m_countField = 0;
    std::string m_text;
};

void HtmlWriter::writeDocumentHead(const ReportHead &head, std::span<const ReportColumn> columns)
{
    const std::string style = htmlStyleSheet(head, columns);
    const QByteArray hash = QCryptographicHash::hash(QByteArrayView(style), QCryptographicHash::Sha256).toBase64();
    m_file.write(
        "<!doctype html>\n<html lang=\"" + escaped(head.language) + "\">\n<head>\n<meta charset=\"utf-8\">\n" +
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'sha256-" + hash.toStdString() +
        "'; base-uri 'none'; form-action 'none'\">\n" +
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<meta name=\"color-scheme\" content=\"light dark\">\n" +
        "<meta name=\"generator\" content=\"Quillmark Report Generator\">\n<title>" + escaped(head.title) + "</title>\n<style>" + style +
        "</style>\n</head>\n");
}

void HtmlWriter::writeReportHead(const ReportHead &head)
{
    m_file.write("<body>\n<header>\n<h1>" + escaped(head.title) + "</h1>\n");
    if (!head.subtitle.empty())
        m_file.write("<p class=\"subtitle\">" + escaped(head.subtitle) + "</p>\n");
    m_file.write("<dl>\n<div><dt>Rows</dt><dd class=\"count\">");
    m_countField = m_file.position();
    m_file.write(std::string(kCountField, ' '));
    m_file.write("</dd></div>\n");
    for (const Fact &fact : head.facts)
        m_file.write("<div><dt>" + escaped(fact.label) + "</dt><dd>" + escaped(fact.value) + "</dd></div>\n");
    m_file.write("</dl>\n</header>\n<main>\n");
}

void HtmlWriter::begin(const ReportHead &head, const ReportShape &shape, const SampleRows &)
{
    const std::vector<ReportColumn> &columns = shape.columns;
    m_file.expectPatch();
    m_facts = head.facts;
    writeDocumentHead(head, columns);
    writeReportHead(head);
    m_file.write("<table>\n<thead><tr>");
    for (const ReportColumn &column : columns) {
        m_formats.emplace_back(column);
        m_file.write("<th scope=\"col\">" + escaped(column.caption) + "</th>");
    }
    m_file.write("</tr></thead>\n<tbody>\n");
}

void HtmlWriter::writeCell(const Value &value, const CellFormatter &format)
{
    const bool plain = format.style() == CellFormatter::Style::Plain;
    switch (value.kind) {
    case Value::Kind::Null:
        return;
    case Value::Kind::Integer:
        if (plain) {
            m_file.advanceTo(numbers::writeInteger(value.integer, m_file.room(numbers::kMaxText)));
            return;
        }
        break;
    case Value::Kind::Text:
        if (plain) {
            writeEscaped(m_file, value.text());
            return;
        }
        break;
    default:
        break;
    }
    m_text.clear();
    format.append(value, m_text);
    writeEscaped(m_file, m_text);
}

void HtmlWriter::row(std::span<const Value> cells)
{
    m_file.write("<tr>");
    for (std::size_t i = 0; i < cells.size(); ++i) {
        m_file.write("<td>");
        writeCell(cells[i], m_formats[i]);
        m_file.write("</td>");
    }
    m_file.write("</tr>\n");
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
    m_file.write("</tbody>\n</table>\n");
    if (tail.rows == 0 && !tail.truncated)
        writeNoRows();
    const std::string rows = rowsText(tail.rows);
    std::string field = rows;
    if (tail.truncated) {
        field = "<strong>" + firstRowsText(tail) + "</strong>: " + limitText(tail);
        m_file.write("<p class=\"notice\">This report is not complete. " + cutNotice(tail) + "</p>\n");
    }
    m_file.write("</main>\n<footer><p>End of the report, " + rows + ".</p></footer>\n</body>\n</html>\n");
    m_file.patch(m_countField, field);
}

} // namespace

std::unique_ptr<ReportWriter> makeHtmlWriter(OutputFile &file, const WriterOptions &)
{
    return std::make_unique<HtmlWriter>(file);
}

} // namespace qm
