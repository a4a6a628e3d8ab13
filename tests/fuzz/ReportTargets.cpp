// Whole reports: any layout, any result, through the plan and each writer; what comes out is well-formed and holds the rows.

#include "fuzz/Fuzz.h"

#include "core/RuntimeError.h"
#include "core/Utf8.h"
#include "documents/TextScan.h"
#include "documents/Writers.h"
#include "engine/run/ReportPlan.h"
#include "importing/CsvReader.h"
#include "platform/Files.h"

#include <expat.h>
#include <zlib.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstring>

namespace qm::fuzz {

namespace {

using Cell = std::pair<Value, std::string>; ///< the text is the value's, where it has one

/// A layout, a result and the run's texts, drawn from the input.
struct Report
{
    ReportLayout layout;
    std::vector<ResultColumn> columns;
    std::vector<std::vector<Cell>> rows;
    RunFacts facts;
    CsvOptions csv;
    bool truncated = false;
    unsigned format = 0;
};

class Source final : public RowSource
{
public:
    explicit Source(const Report &report) : m_report(report) {}
    [[nodiscard]] std::span<const ResultColumn> columns() const override { return m_report.columns; }
    bool next(std::span<Value> row) override
    {
        if (m_next == m_report.rows.size())
            return false;
        for (std::size_t i = 0; i < row.size(); ++i)
            row[i] = m_report.rows[m_next][i].first;
        ++m_next;
        return true;
    }

private:
    const Report &m_report;
    std::size_t m_next = 0;
};

std::string text(FuzzedDataProvider &input)
{
    static constexpr std::array<const char *, 12> kNasty{"<script>alert(1)</script>",
                                                         "=1+1",
                                                         "a;=cmd|x",
                                                         "\xEF\xBB\xBF",
                                                         "\"",
                                                         "\r",
                                                         "\xE2\x80\xAE"
                                                         "abc",
                                                         "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D",
                                                         "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9",
                                                         "\xED\xA0\x80",
                                                         "_x000D_",
                                                         "2026-11-20 08:15:30.123"};
    std::string made = input.ConsumeRandomLengthString(200);
    if (input.ConsumeIntegralInRange(0, 3) == 0)
        made += input.PickValueInArray(kNasty);
    for (int doublings = input.ConsumeIntegralInRange(-24, 8); doublings > 0 && made.size() < 40000; --doublings)
        made += made;
    return made;
}

QString shortText(FuzzedDataProvider &input)
{
    return QString::fromStdString(input.ConsumeRandomLengthString(30));
}

ReportLayout layout(FuzzedDataProvider &input, std::span<const ResultColumn> columns)
{
    static constexpr std::array<const char *, 10> kFormats{"",      "#,##0.00", "0.000%",   "date",        "time",
                                                           "bytes", "boolean",  "datetime", "datetime-ms", "percent"};
    ReportLayout made;
    made.title = shortText(input);
    made.subtitle = shortText(input);
    made.page = {.size = static_cast<PageSize>(input.ConsumeIntegralInRange(0, 4)),
                 .orientation = static_cast<PageOrientation>(input.ConsumeIntegralInRange(0, 1)),
                 .marginMm = static_cast<double>(input.ConsumeIntegralInRange(0, 50))};
    made.header = {shortText(input), QStringLiteral("{page}"), shortText(input)};
    made.onlyListed = input.ConsumeIntegralInRange(0, 7) == 0;
    for (const ResultColumn &column : columns) {
        if (input.ConsumeBool())
            continue;
        LayoutColumn listed;
        listed.field = QString::fromStdString(column.name);
        listed.caption = shortText(input);
        listed.widthMm = input.ConsumeIntegralInRange(0, 400);
        listed.alignment = static_cast<Alignment>(input.ConsumeIntegralInRange(0, 3));
        listed.format = input.ConsumeBool() ? QString::fromLatin1(input.PickValueInArray(kFormats)) : shortText(input);
        listed.visible = input.ConsumeIntegralInRange(0, 7) != 0;
        listed.wrap = input.ConsumeBool();
        made.columns.push_back(listed);
    }
    return made;
}

Cell cell(FuzzedDataProvider &input)
{
    switch (input.ConsumeIntegralInRange(0, 5)) {
    case 0:
        return {Value::ofNull(), {}};
    case 1:
        return {Value::of(input.ConsumeIntegral<std::int64_t>()), {}};
    case 2:
        return {Value::of(input.ConsumeFloatingPoint<double>()), {}};
    case 3:
        return {Value::ofBlob({}), input.ConsumeRandomLengthString(40)};
    default:
        return {Value::ofText({}), text(input)};
    }
}

/// The cells' views, once their texts stay where they are.
void settle(Report &report)
{
    for (auto &row : report.rows)
        for (auto &[value, own] : row)
            if (value.kind == Value::Kind::Text || value.kind == Value::Kind::Blob) {
                value.data = own.data();
                value.size = own.size();
            }
}

Report draw(FuzzedDataProvider &input)
{
    static constexpr std::array<const char *, 8> kTypes{"", "INTEGER", "REAL", "TEXT", "DATE", "DATETIME", "BOOLEAN", "BLOB"};
    Report report;
    report.format = input.ConsumeIntegralInRange(0U, 3U);
    report.csv = {input.ConsumeBool(), input.ConsumeBool()};
    report.truncated = input.ConsumeBool();
    report.facts.description = shortText(input);
    report.facts.period = shortText(input);
    report.columns.resize(input.ConsumeIntegralInRange<std::size_t>(1, 30));
    for (ResultColumn &column : report.columns)
        column = {input.ConsumeRandomLengthString(12), input.PickValueInArray(kTypes)};
    report.layout = layout(input, report.columns);
    while (input.remaining_bytes() > 0 && report.rows.size() < 300) {
        std::vector<Cell> &row = report.rows.emplace_back(report.columns.size());
        std::ranges::generate(row, [&] { return cell(input); });
    }
    settle(report);
    return report;
}

ReportPlan planOf(const Report &report)
{
    Source source(report);
    const RowSample sample(source);
    return planReport(&report.layout, QStringLiteral("x.rpt"), report.columns, sample, report.facts);
}

QByteArray make(const Report &report, const ReportPlan &plan)
{
    static constexpr std::array kNames{"w.csv", "w.html", "w.xlsx", "w.pdf"};
    const QString path = scratch(kNames[report.format]);
    OutputFile file(path);
    static constexpr std::array kFormats{ReportFormat::Csv, ReportFormat::Html, ReportFormat::Xlsx, ReportFormat::Pdf};
    const auto writer = makeWriter(kFormats[report.format], file, {.csv = report.csv, .fontFolder = qEnvironmentVariable("QM_FONTS")});
    writer->begin(plan.head, plan.shape, {});
    std::vector<Value> shown(plan.shape.columns.size());
    for (const auto &row : report.rows) {
        for (std::size_t i = 0; i < shown.size(); ++i)
            shown[i] = row[plan.sources.shown[i]].first;
        writer->row(shown);
    }
    const auto rows = static_cast<std::int64_t>(report.rows.size());
    writer->end({rows, report.truncated, rows});
    const OutputFile::Committed made = file.commit();
    const QByteArray bytes = files::readAll(path);
    PROMISE(made.bytes == static_cast<std::uint64_t>(bytes.size()));
    return bytes;
}

/// The strict reader of our own importer finds each row, and each text as it was.
void checkCsv(const Report &report, const ReportPlan &plan)
{
    InputFile input(scratch("w.csv"));
    CsvParser parser(input);
    PROMISE(parser.next() && parser.fields().size() == plan.shape.columns.size());
    for (const auto &row : report.rows) {
        PROMISE(parser.next() && parser.fields().size() == plan.shape.columns.size());
        for (std::size_t i = 0; i < plan.shape.columns.size(); ++i) {
            const Value &value = row[plan.sources.shown[i]].first;
            const std::string &field = parser.fields()[i];
            if (value.kind == Value::Kind::Text) {
                const std::string expected = utf8::sanitized(value.text());
                PROMISE(field == expected || (report.csv.guardFormulas && field.size() > expected.size()));
            } else if (value.isNull()) {
                PROMISE(field.empty());
            }
        }
    }
    PROMISE(!parser.next());
}

/// No text becomes mark-up: with every letter of every text replaced by an "x" there are as many tags.
void checkHtml(Report report, const ReportPlan &plan, const QByteArray &html)
{
    const auto harmless = [](QString &text) { text = text.isEmpty() || text.contains(u'{') ? text : QString(text.size(), u'x'); };
    harmless(report.layout.title);
    harmless(report.layout.subtitle);
    harmless(report.facts.description);
    harmless(report.facts.period);
    for (LayoutColumn &column : report.layout.columns)
        harmless(column.caption);
    for (auto &row : report.rows)
        for (Cell &each : row)
            std::ranges::fill(each.second, 'x');
    settle(report);
    const QByteArray plain = make(report, planOf(report));
    // The style sheet follows the lengths of captions, and its selectors hold marks too.
    PROMISE(html.count("</style>") == 1 && html.count("<style>") == 1);
    const auto marks = [](const QByteArray &page, char mark) { return page.mid(page.indexOf("</style>")).count(mark); };
    PROMISE(marks(html, '<') == marks(plain, '<') && marks(html, '>') == marks(plain, '>'));
    PROMISE(html.count("<td>") + html.count("<td class=\"null\">") ==
            static_cast<qsizetype>(report.rows.size() * plan.shape.columns.size()));
}

std::uint32_t number(const QByteArray &bytes, qsizetype at, int size)
{
    PROMISE(at >= 0 && at + size <= bytes.size());
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.constData() + at, static_cast<std::size_t>(size));
    return value;
}

/// Every part unpacks to its size and sum, and is well-formed XML. \returns the parts joined.
QByteArray checkedParts(const QByteArray &zip)
{
    const qsizetype end = zip.lastIndexOf("PK\x05\x06");
    QByteArray all;
    qsizetype at = number(zip, end + 16, 4);
    for (unsigned left = number(zip, end + 10, 2); left > 0; --left) {
        PROMISE(zip.mid(at, 4) == "PK\x01\x02");
        const qsizetype local = number(zip, at + 42, 4);
        const qsizetype data = local + 30 + number(zip, local + 26, 2) + number(zip, local + 28, 2);
        std::string part(number(zip, at + 24, 4), '\0');
        QByteArray packed = zip.mid(data, number(zip, at + 20, 4));
        z_stream stream{};
        PROMISE(inflateInit2(&stream, -MAX_WBITS) == Z_OK);
        stream.next_in = reinterpret_cast<Bytef *>(packed.data());
        stream.avail_in = static_cast<uInt>(packed.size());
        stream.next_out = reinterpret_cast<Bytef *>(part.data());
        stream.avail_out = static_cast<uInt>(part.size());
        const int ended = number(zip, at + 10, 2) == 0 ? (part = packed.toStdString(), Z_STREAM_END) : inflate(&stream, Z_FINISH);
        inflateEnd(&stream);
        PROMISE(ended == Z_STREAM_END &&
                crc32(0, reinterpret_cast<const Bytef *>(part.data()), static_cast<uInt>(part.size())) == number(zip, at + 16, 4));
        XML_Parser parser = XML_ParserCreate(nullptr);
        PROMISE(XML_Parse(parser, part.data(), static_cast<int>(part.size()), 1) == XML_STATUS_OK);
        XML_ParserFree(parser);
        all.append(part);
        at += 46 + number(zip, at + 28, 2) + number(zip, at + 30, 2) + number(zip, at + 32, 2);
    }
    return all;
}

/// Each entry of the cross-reference table names its object.
void checkPdf(const QByteArray &pdf)
{
    PROMISE(pdf.startsWith("%PDF-") && pdf.endsWith("\n%%EOF\n"));
    const qsizetype line = pdf.lastIndexOf("startxref\n") + 10;
    const qsizetype table = pdf.mid(line, pdf.indexOf('\n', line) - line).toLongLong();
    PROMISE(pdf.mid(table, 7) == "xref\n0 ");
    const qsizetype entries = pdf.indexOf('\n', table + 5) + 1;
    const qsizetype objects = pdf.mid(table + 7, entries - table - 8).toLongLong();
    for (qsizetype i = 1; i < objects; ++i)
        PROMISE(pdf.mid(pdf.mid(entries + 20 * i, 10).toLongLong(), 20).startsWith(QByteArray::number(i) + " 0 obj\n"));
}

void reports(const QByteArray &bytes)
{
    FuzzedDataProvider input(reinterpret_cast<const std::uint8_t *>(bytes.constData()), static_cast<std::size_t>(bytes.size()));
    const Report report = draw(input);
    const ReportPlan plan = planOf(report); // may refuse the layout
    mustSucceed([&] {
        const QByteArray made = make(report, plan);
        switch (report.format) {
        case 0:
            return checkCsv(report, plan);
        case 1:
            return checkHtml(report, plan, made);
        case 2:
            PROMISE(checkedParts(made).count("<row") >= static_cast<qsizetype>(report.rows.size()));
            return;
        default:
            return checkPdf(made);
        }
    });
}

} // namespace

Targets reportTargets()
{
    return {{"reports", reports}};
}

} // namespace qm::fuzz
