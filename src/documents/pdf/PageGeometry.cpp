#include "documents/pdf/PageGeometry.h"

#include "documents/pdf/PageBands.h"

#include <algorithm>
#include <cmath>

namespace qm::pdf {

namespace {

constexpr double kSmallestPageMm = 40;
constexpr double kLargestPageMm = 5000; // readers stop at 5,080 mm
constexpr double kBodySize = 75, kSmallestBodySize = 50;
constexpr Tenths kLargestPaddingX = 30;

Tenths fromMm(double mm)
{
    return static_cast<Tenths>(std::lround(mm * kTenthsPerMm));
}

bool isEmpty(const PageBand &band)
{
    return band.left.empty() && band.centre.empty() && band.right.empty();
}

double widthOf(const ReportColumn &column)
{
    return std::isfinite(column.widthMm) && column.widthMm > 0 ? column.widthMm : 30;
}

} // namespace

PageGeometry::PageGeometry(const ReportHead &head, std::span<const ReportColumn> reportColumns)
    : width(fromMm(std::clamp(head.page.widthMm, kSmallestPageMm, kLargestPageMm))),
      height(fromMm(std::clamp(head.page.heightMm, kSmallestPageMm, kLargestPageMm))), band(70, 90), facts(80, 105), title(200, 240),
      subtitle(100, 130)
{
    const Tenths margin = std::clamp(fromMm(head.page.marginMm), Tenths{0}, std::min(width, height) / 4);
    left = margin;
    right = width - margin;
    top = height - margin;
    bottom = margin;
    // With margins of 12 mm the bands' baselines lie 8 mm from the edge, and the body 17.
    const Tenths baseline = std::max(margin * 2 / 3, fromMm(4));
    const Tenths bodyEdge = std::max(margin + fromMm(5), baseline + fromMm(9));
    headerBaseline = height - baseline;
    footerBaseline = baseline;
    const bool house = hasHouseBands(head);
    if (house || !isEmpty(head.header))
        top = height - bodyEdge;
    if (house || !isEmpty(head.footer))
        bottom = bodyEdge;

    double wanted = 0;
    for (const ReportColumn &column : reportColumns)
        wanted += widthOf(column);
    const double scale = wanted > 0 ? (right - left) / (wanted * kTenthsPerMm) : 1;
    const double letters = std::max(kSmallestBodySize, kBodySize * std::min(1.0, std::sqrt(scale)));
    body = LineMetrics(static_cast<Tenths>(std::lround(letters)));
    paddingY = body.size * 19 / 75;
    double position = left;
    for (const ReportColumn &column : reportColumns) {
        const double next = position + widthOf(column) * kTenthsPerMm * scale;
        const auto paddingX = std::min(kLargestPaddingX, static_cast<Tenths>((next - position) / 8));
        ColumnBox box{static_cast<Tenths>(std::lround(position)) + paddingX, static_cast<Tenths>(std::lround(next)) - paddingX, 0};
        box.limit = std::max(1, body.limitFor(box.right - box.left));
        columns.push_back(box);
        position = next;
    }
}

} // namespace qm::pdf
