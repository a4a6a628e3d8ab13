#include "documents/ReportWords.h"

#include "documents/NumberText.h"

#include <algorithm>

namespace qm {

std::string rowsText(std::int64_t rows)
{
    return numbers::counted(rows, "row", "rows");
}

std::string firstRowsText(const ReportTail &tail)
{
    return "Only the first " + rowsText(tail.rows);
}

std::string limitText(const ReportTail &tail)
{
    return "the limit of " + rowsText(tail.rowLimit) + " cut off the rest.";
}

std::string cutNotice(const ReportTail &tail)
{
    return firstRowsText(tail) + ": " + limitText(tail);
}

void forEachBandPart(std::string_view band, const std::function<void(BandPart, std::string_view)> &take)
{
    constexpr std::string_view kPage = "{page}", kPages = "{pages}";
    while (!band.empty()) {
        const std::size_t page = band.find(kPage), pages = band.find(kPages);
        const std::size_t field = std::min(page, pages);
        if (field > 0)
            take(BandPart::Text, band.substr(0, field));
        if (field == std::string_view::npos)
            return;
        take(pages < page ? BandPart::Pages : BandPart::Page, {});
        band.remove_prefix(field + (pages < page ? kPages : kPage).size());
    }
}

} // namespace qm
