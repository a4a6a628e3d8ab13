#include "documents/pdf/PageGeometry.h"

#include "documents/pdf/PageBands.h"

#include <algorithm>
#include <cmath>

namespace qm::pdf {

namespace {

constexpr double kSmallestPageMm = 40;
constexpr double kLargestPageMm = 5000; // readers stop at 5,080 mm

Tenths fromMm(double mm)
{
    return static_cast<Tenths>(std::lround(mm * kTenthsPerMm));
}

bool isEmpty(const PageBand &band)
{
    return band.left.empty() && band.centre.empty() && band.right.empty();
}

Tenths pageSide(double mm)
{
    return fromMm(std::clamp(mm, kSmallestPageMm, kLargestPageMm));
}

Tenths marginOf(const PageSetup &page)
{
    return std::clamp(fromMm(page.marginMm), Tenths{0}, std::min(pageSide(page.widthMm), pageSide(page.heightMm)) / 4);
}

LineMetrics rowMetrics(Tenths letters)
{
    return {letters, letters * (letters < columns::kUsualLetters ? 125 : 130) / 100};
}

} // namespace

Tenths PageGeometry::textWidth(const PageSetup &page)
{
    return pageSide(page.widthMm) - 2 * marginOf(page);
}

PageGeometry::PageGeometry(const ReportHead &head, const columns::Fit &fit)
    : width(pageSide(head.page.widthMm)), height(pageSide(head.page.heightMm)), band(70, 90), facts(80, 105), title(200, 240),
      subtitle(100, 130), small(rowMetrics(columns::kSmallLetters))
{
    const Tenths margin = marginOf(head.page);
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

    body = rowMetrics(fit.letters);
    paddingY = body.size * 19 / 75;
    tableRight = std::min(right, left + fit.width);
    for (const columns::Box &fitted : fit.boxes) {
        ColumnBox box{left + fitted.left, left + fitted.right, 0, fitted.kind == columns::Kind::Whole};
        box.limit = std::max(1, body.limitFor(box.right - box.left));
        columns.push_back(box);
    }
}

} // namespace qm::pdf
