/// \file
/// Writes the same table with the PDF writer or with libharu and prints what it cost.
///   bench_pdf quillmark|libharu ROWS FILE
/// Prints one line: program, rows, CPU seconds (user and system), peak memory in MB, file size in MB.
#include "core/RuntimeError.h"
#include "documents/Writers.h"
#include "documents/pdf/FontFolder.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <hpdf.h>
#include <sys/resource.h>

#include <array>
#include <cstdio>
#include <random>
#include <string>

namespace {

constexpr std::size_t kColumns = 7;
constexpr std::array<double, kColumns> kWidthsMm = {18, 34, 18, 44, 34, 30, 95};

/// Rows like those of an event log: five short columns and a message of 80 to 160 characters. The same for each run.
class Rows final
{
public:
    const std::array<std::string, kColumns> &next(std::int64_t row)
    {
        static constexpr std::array<const char *, 12> kWords = {"The",     "account", "failed",  "to",      "log",     "on",
                                                                "because", "service", "entered", "stopped", "network", "policy"};
        m_cells[0] = std::to_string(row);
        char time[32];
        std::snprintf(time, sizeof time, "2024-%02d-%02d %02d:%02d:%02d", static_cast<int>(row / 86400 % 12) + 1,
                      static_cast<int>(row / 3600 % 28) + 1, static_cast<int>(row / 3600 % 24), static_cast<int>(row / 60 % 60),
                      static_cast<int>(row % 60));
        m_cells[1] = time;
        m_cells[2] = std::to_string(4600 + m_random() % 200);
        m_cells[3] = "Security-Auditing-" + std::to_string(m_random() % 9);
        m_cells[4] = "SRV-" + std::to_string(m_random() % 500);
        m_cells[5] = "user" + std::to_string(m_random() % 5000);
        m_cells[6].clear();
        const std::size_t length = 80 + m_random() % 81;
        while (m_cells[6].size() < length) {
            m_cells[6] += kWords[m_random() % kWords.size()];
            m_cells[6] += ' ';
            if (m_random() % 8 == 0)
                m_cells[6] += std::to_string(m_random()) + " ";
        }
        m_cells[6].resize(length);
        return m_cells;
    }

private:
    std::mt19937 m_random{42};
    std::array<std::string, kColumns> m_cells;
};

constexpr std::array<const char *, kColumns> kCaptions = {"Record", "Time generated", "Event", "Source", "Computer", "User", "Message"};

void writeOwn(std::int64_t count, const QString &path)
{
    using namespace qm;
    OutputFile file(path);
    const auto writer = makePdfWriter(file, {.fontFolder = shippedFontFolder()});
    ReportHead head;
    head.title = "Failed logons by account";
    head.subtitle = "All servers";
    head.facts = {{qm::Fact::Kind::Package, "Package", "Server Operating System Logs"},
                  {qm::Fact::Kind::Source, "Source", "EventLog.db"},
                  {qm::Fact::Kind::Period, "Period", "last week"}};
    head.header = {"Failed logons by account", "", "last week"};
    head.footer = {"Server Operating System Logs", "", "Page {page} of {pages}"};
    std::vector<ReportColumn> columns(kColumns);
    for (std::size_t i = 0; i < kColumns; ++i) {
        columns[i].caption = kCaptions[i];
        columns[i].widthMm = kWidthsMm[i];
        columns[i].alignment = i == 0 || i == 2 ? CellAlignment::Right : CellAlignment::Left;
    }
    writer->begin(head, {.columns = columns}, {});
    Rows rows;
    std::array<Value, kColumns> values;
    for (std::int64_t row = 0; row < count; ++row) {
        const auto &cells = rows.next(row);
        for (std::size_t i = 0; i < kColumns; ++i)
            values[i] = Value::ofText(cells[i]);
        writer->row(values);
    }
    writer->end({count, false, 0});
    file.commit();
}

/// The same table as a program using libharu would write it: one page at a time, texts wrapped by its own text measurement.
class HaruReport final
{
public:
    explicit HaruReport(const QString &fontFile) : m_document(HPDF_New(nullptr, nullptr))
    {
        HPDF_SetCompressionMode(m_document, HPDF_COMP_ALL);
        HPDF_UseUTFEncodings(m_document);
        const char *name = HPDF_LoadTTFontFromFile(m_document, QFile::encodeName(fontFile).constData(), HPDF_TRUE);
        m_font = HPDF_GetFont(m_document, name, "UTF-8");
    }
    ~HaruReport() { HPDF_Free(m_document); }
    HaruReport(const HaruReport &) = delete;
    HaruReport &operator=(const HaruReport &) = delete;

    void addRow(const std::array<std::string, kColumns> &cells)
    {
        int lines = 1;
        std::array<std::vector<std::string>, kColumns> wrapped;
        for (std::size_t i = 0; i < kColumns; ++i) {
            for (std::size_t at = 0; at < cells[i].size();) {
                const auto fits =
                    HPDF_Font_MeasureText(m_font, reinterpret_cast<const HPDF_BYTE *>(cells[i].c_str() + at),
                                          static_cast<HPDF_UINT>(cells[i].size() - at), width(i) - 6, kSize, 0, 0, HPDF_TRUE, nullptr);
                const std::size_t taken = fits == 0 ? cells[i].size() - at : fits;
                wrapped[i].push_back(cells[i].substr(at, taken));
                at += taken;
            }
            lines = std::max(lines, static_cast<int>(wrapped[i].size()));
        }
        if (!m_page || m_y - static_cast<float>(lines) * kLine < 60)
            newPage();
        float x = kMargin;
        HPDF_Page_BeginText(m_page);
        for (std::size_t i = 0; i < kColumns; ++i) {
            float y = m_y;
            for (const std::string &line : wrapped[i])
                HPDF_Page_TextOut(m_page, x, y -= kLine, line.c_str());
            x += width(i);
        }
        HPDF_Page_EndText(m_page);
        m_y -= static_cast<float>(lines) * kLine + 2;
    }

    void save(const QString &path) { HPDF_SaveToFile(m_document, QFile::encodeName(path).constData()); }

private:
    static constexpr float kSize = 7.5F, kLine = 9.1F, kMargin = 34;

    [[nodiscard]] static float width(std::size_t column)
    {
        double whole = 0;
        for (const double mm : kWidthsMm)
            whole += mm;
        return static_cast<float>(kWidthsMm[column] / whole * (842 - 2 * static_cast<double>(kMargin)));
    }

    void newPage()
    {
        m_page = HPDF_AddPage(m_document);
        HPDF_Page_SetSize(m_page, HPDF_PAGE_SIZE_A4, HPDF_PAGE_LANDSCAPE);
        HPDF_Page_SetFontAndSize(m_page, m_font, kSize);
        m_y = 595 - kMargin;
        HPDF_Page_BeginText(m_page);
        float x = kMargin;
        HPDF_Page_TextOut(m_page, kMargin, m_y, "Failed logons by account");
        HPDF_Page_TextOut(m_page, kMargin, 40, ("Page " + std::to_string(++m_pages)).c_str());
        m_y -= 20;
        for (std::size_t i = 0; i < kColumns; ++i) {
            HPDF_Page_TextOut(m_page, x, m_y, kCaptions[i]);
            x += width(i);
        }
        HPDF_Page_EndText(m_page);
    }

    HPDF_Doc m_document;
    HPDF_Font m_font = nullptr;
    HPDF_Page m_page = nullptr;
    float m_y = 0;
    int m_pages = 0;
};

void writeHaru(std::int64_t count, const QString &path)
{
    HaruReport report(qm::shippedFontFolder() + QStringLiteral("/DejaVuSansCondensed.ttf"));
    Rows rows;
    for (std::int64_t row = 0; row < count; ++row)
        report.addRow(rows.next(row));
    report.save(path);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 4) {
        std::fputs("usage: bench_pdf quillmark|libharu|rows ROWS FILE\n", stderr);
        return 2;
    }
    const std::int64_t count = arguments[2].toLongLong();
    try {
        if (arguments[1] == QStringLiteral("quillmark")) {
            writeOwn(count, arguments[3]);
        } else if (arguments[1] == QStringLiteral("libharu")) {
            writeHaru(count, arguments[3]);
        } else { // what making the rows costs, to subtract
            Rows rows;
            for (std::int64_t row = 0; row < count; ++row)
                rows.next(row);
        }
    } catch (const qm::RuntimeError &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    const double cpu = static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
                       static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e6;
    std::printf("%-9s rows %lld cpu %.2f s peak %.1f MB file %.1f MB\n", qPrintable(arguments[1]), static_cast<long long>(count), cpu,
                static_cast<double>(used.ru_maxrss) / 1024, static_cast<double>(QFileInfo(arguments[3]).size()) / 1e6);
    return 0;
}
