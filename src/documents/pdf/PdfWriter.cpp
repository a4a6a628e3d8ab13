#include "documents/NumberText.h"
#include "documents/ReportWords.h"
#include "documents/Writers.h"
#include "documents/pdf/ChartBlock.h"
#include "documents/pdf/DocumentFacts.h"
#include "documents/pdf/FontEmbedder.h"
#include "documents/pdf/PageBands.h"
#include "documents/pdf/PdfSyntax.h"
#include "documents/pdf/TableBody.h"
#include "documents/pdf/TitleBlock.h"

#include <QCryptographicHash>

#include <algorithm>
#include <optional>

namespace qm {

namespace pdf {

namespace {

/// What was asked for, of a report that found nothing.
std::string askedFor(const ReportHead &head)
{
    using Kind = Fact::Kind;
    std::string text;
    const auto add = [&](Kind kind, std::string_view before) {
        for (const Fact &fact : head.facts)
            if (fact.kind == kind)
                text.append(text.empty() ? "" : "\n").append(before.empty() ? fact.label + ": " : std::string(before)).append(fact.value);
    };
    text = "The query found nothing for this report. It was asked for:";
    const std::size_t asked = text.size();
    add(Kind::Query, {});
    add(Kind::Period, {});
    add(Kind::Parameter, {});
    add(Kind::Source, {});
    return text.size() > asked ? text : "The query found nothing for this report.";
}

/// Writes a report as PDF 1.7. The same head, rows and fonts give the same bytes.
class PdfWriter final : public ReportWriter
{
public:
    PdfWriter(OutputFile &file, const QString &fontFolder) : m_fonts(fontFolder), m_layout(m_fonts), m_file(file) {}

    void begin(const ReportHead &head, const ReportShape &shape, const SampleRows &sample) override
    {
        const auto columns = std::span(shape.columns).first(shape.columns.size() - shape.hidden);
        m_head = head;
        m_geometry.emplace(head, columns);
        m_pages.emplace(m_file, m_layout, *m_geometry);
        m_bands.emplace(head, *m_geometry, m_layout);
        m_pages->setBands(std::string(PageBands::kFirstForm), std::string(PageBands::kForm));
        m_titleBlock.emplace(*m_geometry, m_layout);
        m_body.emplace(*m_geometry, m_layout, *m_pages, m_outline, shape, sample);
        m_pages->newPage();
        m_titleBlock->draw(head, shape, sample, *m_pages);
        m_charts.emplace(*m_geometry, m_layout);
        m_charts->place(shape, sample, *m_pages);
    }

    void beginGroup(std::size_t level, const Value &key) override { m_body->beginGroup(level, key); }
    void row(std::span<const Value> cells) override { m_body->addRow(cells); }
    void endGroup(const GroupEnd &group) override { m_body->endGroup(group); }

    void end(const ReportTail &tail) override
    {
        const std::vector<std::string> late = lateNotices(tail);
        std::vector<std::string> notices = m_head.notices;
        notices.insert(notices.end(), late.begin(), late.end());
        m_body->end(tail, askedFor(m_head), notices);
        const int count = m_pages->count();
        m_pages->closePage();
        m_titleBlock->finish(tail, late, count, *m_pages);
        m_charts->finish(tail, *m_pages);
        m_bands->finish(*m_pages, count);
        TextCanvas drawnLate(m_layout);
        const int tree = m_pages->writePages([&](int page) -> std::string_view {
            drawnLate.clear();
            m_bands->draw(page, drawnLate);
            m_body->drawLate(page, drawnLate);
            return drawnLate.content();
        });
        m_pages->writeResources(embedFonts(m_fonts, m_file));
        m_file.finish(writeCatalogue(tree), writeInformation(m_head, m_file), identifier(tail));
        m_notes.pages = count;
        m_notes.missingGlyphs =
            m_pages->missingGlyphs() + m_titleBlock->missingGlyphs() + m_charts->missingGlyphs() + drawnLate.missingGlyphs();
    }

    [[nodiscard]] WriterNotes notes() const override { return m_notes; }

private:
    /// Sentences that are known only now.
    [[nodiscard]] std::vector<std::string> lateNotices(const ReportTail &tail) const
    {
        std::vector<std::string> notices;
        if (tail.truncated)
            notices.push_back(cutNotice(tail));
        notices.insert(notices.end(), tail.notices.begin(), tail.notices.end());
        if (const std::int64_t missing = m_pages->missingGlyphs(); missing > 0)
            notices.push_back(numbers::counted(missing, "character is", "characters are") +
                              " in no font of this computer and shown as a box; search and copy still find them.");
        return notices;
    }

    int writeCatalogue(int tree)
    {
        std::string body = "<</Type/Catalog/Pages ";
        appendReference(body, tree);
        body += "/Outlines ";
        appendReference(body, m_outline.write(m_head.title, *m_pages, m_file));
        body += m_outline.hasGroups() ? "/PageMode/UseOutlines" : "";
        body += "/Metadata ";
        appendReference(body, writeMetadata(m_head, m_file));
        body += "/Lang(" + languageTag(m_head.language) + ")/ViewerPreferences<</DisplayDocTitle true>>>>";
        const int number = m_file.reserve();
        m_file.writeObject(number, body);
        return number;
    }

    /// Differs between reports, but not between two runs over the same data.
    [[nodiscard]] std::string identifier(const ReportTail &tail) const
    {
        QCryptographicHash hash(QCryptographicHash::Md5);
        const auto add = [&](const std::string &text) {
            hash.addData(QByteArrayView(text.data(), static_cast<qsizetype>(text.size() + 1)));
        };
        add(m_head.title);
        add(m_head.subtitle);
        for (const Fact &fact : m_head.facts) {
            add(fact.label);
            add(fact.value);
        }
        add(std::to_string(tail.rows));
        add(std::to_string(m_file.position()));
        return hash.result().toHex().toStdString();
    }

    FontBook m_fonts;
    TextLayout m_layout;
    PdfFile m_file;
    ReportHead m_head;
    std::optional<PageGeometry> m_geometry;
    std::optional<ReportPages> m_pages;
    std::optional<PageBands> m_bands;
    std::optional<TitleBlock> m_titleBlock;
    std::optional<ChartBlock> m_charts;
    Outline m_outline;
    std::optional<TableBody> m_body;
    WriterNotes m_notes;
};

} // namespace

} // namespace pdf

std::unique_ptr<ReportWriter> makePdfWriter(OutputFile &file, const WriterOptions &options)
{
    return std::make_unique<pdf::PdfWriter>(file, options.fontFolder);
}

} // namespace qm
