/// \file
/// Collects the shapes of a chart, and what its parts share: the room they have and how texts are measured.
#pragma once

#include "documents/charts/ChartAxis.h"
#include "documents/charts/ChartFigures.h"
#include "documents/charts/ChartPicture.h"
#include "documents/charts/ChartText.h"

#include <string>
#include <string_view>
#include <vector>

namespace qm::charts {

inline constexpr double kLabelSize = 7, kAxisSize = 6.5, kTitleSize = 9;
/// Height of a line of labels, and how far above its lower end the baseline is.
inline constexpr double kLabelLine = 9, kDescent = 2.2;
inline constexpr double kGap = 4;         ///< between a label and what it belongs to
inline constexpr double kBarShare = 0.6;  ///< of the step
inline constexpr double kStackGap = 0.75; ///< between the parts of a stack

struct Area
{
    double left = 0, top = 0, right = 0, bottom = 0;
    [[nodiscard]] double width() const { return right - left; }
    [[nodiscard]] double height() const { return bottom - top; }
    [[nodiscard]] double middle() const { return (left + right) / 2; }
};

class ChartCanvas final
{
public:
    ChartCanvas(ChartSize size, const ChartTextWidth &textWidth);

    [[nodiscard]] double widthOf(std::string_view text, double size = kLabelSize, bool bold = false) const
    {
        return m_textWidth(text, size, bold);
    }
    [[nodiscard]] const ChartTextWidth &textWidth() const { return m_textWidth; }
    [[nodiscard]] double widest(const std::vector<std::string> &texts, double size = kLabelSize, bool bold = false) const;

    void add(ChartShape shape) { m_picture.shapes.push_back(std::move(shape)); }
    /// A straight line.
    void line(ChartPoint from, ChartPoint to, double width, ChartColour colour);
    /// A bar: solid, hatched for what is the rest, or hollow for what is known only in part.
    enum class Fill { Solid, Hatched, Hollow };
    void bar(const Area &area, ChartColour colour, Fill fill);
    /// Fine lines at 45 degrees, 2 apart, over \p polygon.
    void hatch(const std::vector<ChartPoint> &polygon);
    /// Leaves out what is empty, not within the picture or over another text; ends what is too long by an ellipsis.
    void text(ChartText text);

    [[nodiscard]] ChartPicture take() { return std::move(m_picture); }

private:
    const ChartTextWidth &m_textWidth;
    ChartPicture m_picture;
    std::vector<Area> m_texts; ///< where there are any, but for those within cells
};

/// The parts of the picture. Each draws itself within \p area; figures that find no room there are cut down first.
void layoutBars(ChartCanvas &canvas, Figures &figures, const ValueText &values, const ChartSpec &spec, const Area &area);
void layoutColumns(ChartCanvas &canvas, Figures &figures, const ValueText &values, const ChartSpec &spec, const Area &area);
void layoutLines(ChartCanvas &canvas, Figures &figures, const ValueText &values, const ChartSpec &spec, const Area &area);
void layoutPie(ChartCanvas &canvas, const Figures &figures, const ValueText &values, const Area &area);
void layoutHeat(ChartCanvas &canvas, const Figures &figures, const ValueText &values, const Area &area);

/// The mark of a series at a point of a line: circle, square, triangle, diamond, cross.
void drawMark(ChartCanvas &canvas, ChartPoint at, std::size_t series, ChartColour colour, bool hollow);
/// Whether the lines can be told by labels at their ends, so that no legend is needed.
[[nodiscard]] bool linesAreLabelled(const Figures &figures, double height);

/// What columns and lines stand on: axis, grid, ticks and the labels of the categories.
struct ColumnFrame
{
    Area plot;
    Axis axis;
    double step = 0;
    double first = 0; ///< from the left of the plot to the middle of the first category
    [[nodiscard]] double centre(std::size_t category) const { return plot.left + first + static_cast<double>(category) * step; }
    [[nodiscard]] double y(double value) const { return plot.bottom - axis.position(value) * plot.height(); }
};
struct ColumnRoom
{
    double right = 0;    ///< for labels at the ends of lines
    double top = 0;      ///< for values above columns
    double mostStep = 0; ///< 0: the whole width
    bool points = false; ///< the first and the last category stand near the edges, as points of lines do
};
/// \returns a step of 0 where there is no room.
[[nodiscard]] ColumnFrame layoutColumnFrame(ChartCanvas &canvas, Figures &figures, const ValueText &values, const ChartSpec &spec,
                                            const Area &area, const ColumnRoom &room);
void drawZeroLine(ChartCanvas &canvas, const ColumnFrame &frame);

} // namespace qm::charts
