#include "documents/pdf/PageGeometry.h"

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

} // namespace

Tenths PageGeometry::textWidth(const PageSetup &page)
{
    return pageSide(page.widthMm) - 2 * marginOf(page);
}

PageGeometry::PageGeometry(const ReportHead &head, const columns::Fit &fit)
    : width(pageSide(head.page.widthMm)), height(pageSide(head.page.heightMm)), band(68), facts(78), title(160), subtitle(95),
      small(columns::kSmallLetters)
{
    const Tenths margin = marginOf(head.page);
    left = margin;
    right = width - margin;
    top = height - margin;
    bottom = margin;
    constexpr Tenths kBandGap = 60;
    if (!isEmpty(head.header)) {
        headerBaseline = top - band.baseline;
        top -= band.height + kBandGap;
    }
    if (!isEmpty(head.footer)) {
        footerBaseline = bottom + band.height - band.baseline;
        bottom += band.height + kBandGap;
    }

    body = LineMetrics(fit.letters);
    paddingY = body.size * 16 / 100;
    tableRight = std::min(right, left + fit.width);
    for (const columns::Box &fitted : fit.boxes) {
        ColumnBox box{left + fitted.left, left + fitted.right, 0, fitted.kind == columns::Kind::Whole};
        box.limit = std::max(1, body.limitFor(box.right - box.left));
        columns.push_back(box);
    }
}

} // namespace qm::pdf
