#include "documents/Writers.h"
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

/// A language tag as it may stand in a PDF name or string; "en" for anything else.
std::string languageTag(const std::string &language)
{
    const bool clean = !language.empty() && std::all_of(language.begin(), language.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
    });
    return clean ? language : "en";
}

/// Writes a report as PDF 1.7. The same head, rows and fonts give the same bytes.
class PdfWriter final : public ReportWriter
{
public:
    PdfWriter(OutputFile &file, const QString &fontFolder) : m_fonts(fontFolder), m_layout(m_fonts), m_file(file) {}

    void begin(const ReportHead &head, const ReportShape &shape, const SampleRows &) override
    {
        const std::vector<ReportColumn> &columns = shape.columns;
        m_head = head;
        m_geometry.emplace(head, columns);
        m_pages.emplace(m_file, m_layout, *m_geometry);
        m_bands.emplace(head, *m_geometry, m_layout);
        m_titleBlock.emplace(*m_geometry, m_layout);
        m_body.emplace(*m_geometry, m_layout, *m_pages, columns, m_bands->formName());
        m_body->openPage();
        m_titleBlock->draw(head, *m_pages);
        m_body->begin();
    }

    void row(std::span<const Value> cells) override { m_body->addRow(cells); }

    void end(const ReportTail &tail) override
    {
        m_body->end(tail);
        m_pages->closePage();
        const int count = m_pages->count();
        m_bands->finish(*m_pages, count);
        TextCanvas late(m_layout);
        const int tree = m_pages->writePages([&](int page) -> std::string_view {
            late.clear();
            m_bands->draw(page, late);
            if (page == 1)
                m_titleBlock->drawCount(tail, count, late);
            return late.content();
        });
        m_pages->writeResources(embedFonts(m_fonts, m_file));
        m_file.finish(writeCatalogue(tree), writeInformation(), identifier(tail));
        m_notes.pages = count;
        m_notes.missingGlyphs = m_pages->missingGlyphs() + late.missingGlyphs();
    }

    [[nodiscard]] WriterNotes notes() const override { return m_notes; }

private:
    int writeCatalogue(int tree)
    {
        std::string body = "<</Type/Catalog/Pages ";
        appendReference(body, tree);
        body += "/Lang(" + languageTag(m_head.language) + ")/ViewerPreferences<</DisplayDocTitle true>>>>";
        const int number = m_file.reserve();
        m_file.writeObject(number, body);
        return number;
    }

    int writeInformation()
    {
        std::string body = "<</Title";
        appendTextString(body, m_head.title);
        if (!m_head.subtitle.empty()) {
            body += "/Subject";
            appendTextString(body, m_head.subtitle);
        }
        body += "/Producer(Quillmark SQL Report Generator)>>";
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
