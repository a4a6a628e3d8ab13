/// \file
/// The words of layout files, each list in one place: what readers, writers and the editor know of them.
#pragma once

#include "framework/ReportLayout.h"

#include <span>

namespace qm {

/// A paper, upright.
struct Paper
{
    PageSize size;
    const char *word;
    double widthMm, heightMm;
    int number; ///< in the page set-ups of workbooks (ISO/IEC 29500-1, 18.3.1.63)
};
/// In the order of PageSize.
[[nodiscard]] std::span<const Paper> papers();
[[nodiscard]] const Paper &paperOf(PageSize size);
/// The number of the paper with these sides, whichever is the longer; A4's for any other.
[[nodiscard]] int paperNumber(double widthMm, double heightMm);
[[nodiscard]] const QStringList &paperWords();

/// Words and labels of LayoutChart::kind; the first, which is empty, is no chart.
[[nodiscard]] const QStringList &chartWords();
[[nodiscard]] QStringList chartLabels();

/// In the order of the enumerations.
[[nodiscard]] const QStringList &alignmentWords();
[[nodiscard]] const QStringList &orientationWords();
[[nodiscard]] const QStringList &aggregateWords();
[[nodiscard]] const QStringList &groupOrderWords();
[[nodiscard]] const QStringList &ruleTestWords();
[[nodiscard]] const QStringList &emphasisWords();

} // namespace qm
