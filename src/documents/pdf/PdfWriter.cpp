#include "documents/Writers.h"
#include "documents/pdf/CardBody.h"
#include "documents/pdf/FontEmbedder.h"
#include "documents/pdf/PageBands.h"
#include "documents/pdf/PdfSyntax.h"
#include "documents/pdf/ReportFit.h"
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

    void begin(const ReportHead &head, const ReportShape &shape, const SampleRows &sample) override
    {
        m_fit.emplace(head, shape, sample, m_layout);
        m_head = m_fit->head();
        m_geometry.emplace(m_head, m_fit->columns());
        m_pages.emplace(m_file, m_layout, *m_geometry);
        m_bands.emplace(m_head, *m_geometry, m_layout);
        m_titleBlock.emplace(*m_geometry, m_layout);
        if (m_fit->columns().cards) {
            beginCards(sample);
            return;
        }
        m_body.emplace(*m_geometry, m_layout, *m_pages, m_fit->shape().columns, m_bands->formName());
        m_body->openPage();
        m_titleBlock->draw(m_head, *m_pages);
        m_body->begin();
    }

    void beginGroup(std::size_t level, const Value &key) override
    {
        if (m_cards)
            m_cards->beginGroup(level, key);
    }

    void endGroup(const GroupEnd &group) override
    {
        if (m_cards)
            m_cards->endGroup(group);
    }

    void row(std::span<const Value> cells) override
    {
        const std::span<const Value> shown = m_fit->shownOf(cells);
        if (m_body)
            m_body->addRow(shown);
        else
            m_cards->addRow(shown);
    }

    void end(const ReportTail &tail) override
    {
        if (m_body)
            m_body->end(tail);
        else
            m_cards->end(tail);
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
    void beginCards(const SampleRows &sample)
    {
        std::vector<Value> cells;
        for (std::size_t row = 0; row < sample.rows; ++row) {
            const std::span<const Value> shown = m_fit->shownOf(sample.row(row));
            cells.insert(cells.end(), shown.begin(), shown.end());
        }
        m_cards.emplace(*m_geometry, m_layout, *m_pages, m_fit->shape(), SampleRows{cells, sample.rows, sample.whole}, m_bands->formName());
        m_cards->openPage();
        m_titleBlock->draw(m_head, *m_pages);
        m_cards->begin();
    }

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
    std::optional<ReportFit> m_fit;
    std::optional<PageGeometry> m_geometry;
    std::optional<ReportPages> m_pages;
    std::optional<PageBands> m_bands;
    std::optional<TitleBlock> m_titleBlock;
    std::optional<TableBody> m_body; ///< or the other, never both
    std::optional<CardBody> m_cards;
    WriterNotes m_notes;
};

} // namespace

} // namespace pdf

std::unique_ptr<ReportWriter> makePdfWriter(OutputFile &file, const WriterOptions &options)
{
    return std::make_unique<pdf::PdfWriter>(file, options.fontFolder);
}

} // namespace qm
