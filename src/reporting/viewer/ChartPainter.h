/// \file
/// Charts on the screen.
#pragma once

#include "documents/charts/ChartPicture.h"

class QPainter;
class QPointF;

namespace qm {

/// Measures texts with the font in which paintChart() writes.
[[nodiscard]] ChartTextWidth screenTextWidth();

/// Paints \p picture with its upper left corner at \p at, one unit of the painter for a point of the picture. The page behind it is not
/// painted.
void paintChart(QPainter &painter, QPointF at, const ChartPicture &picture, ChartScheme scheme);

} // namespace qm
