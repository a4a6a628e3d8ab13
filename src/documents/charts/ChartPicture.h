/// \file
/// A chart as shapes: what a page, a file or a window draws, the same everywhere.
#pragma once

#include "documents/ChartSpec.h"
#include "documents/ReportShape.h"
#include "documents/charts/ChartColours.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qm {

/// Lengths are points. x grows to the right, y downwards, from the upper left corner.
struct ChartPoint
{
    double x = 0, y = 0;
};

struct ChartSize
{
    double width = 0, height = 0;
};

struct ChartPaint
{
    std::optional<ChartColour> fill, stroke;
    double strokeWidth = 0;
};

struct ChartRect
{
    double x = 0, y = 0, width = 0, height = 0;
    ChartPaint paint;
};

/// One or several lines of points; closed: polygons.
struct ChartPath
{
    std::vector<std::vector<ChartPoint>> parts;
    bool closed = false;
    ChartPaint paint;
};

/// A part of a disc. Angles are turns, clockwise from the top; a sweep of 1 is the whole disc.
struct ChartSlice
{
    ChartPoint centre;
    double radius = 0, from = 0, sweep = 1;
    ChartPaint paint;
};

/// One line of text: valid UTF-8 without line breaks, tabs and hidden characters.
struct ChartText
{
    enum class Anchor : std::uint8_t { Start, Middle, End };
    /// What the text is for.
    enum class Part : std::uint8_t { Title, Subtitle, Category, Axis, Value, Legend, Cell };
    std::string text;
    ChartPoint at; ///< on the baseline
    Anchor anchor = Anchor::Start;
    double size = 7;
    bool bold = false;
    ChartColour colour = ChartColour::Ink;
    Part part = Part::Category;
};

using ChartShape = std::variant<ChartRect, ChartPath, ChartSlice, ChartText>;

struct ChartPicture
{
    ChartSize size;
    std::vector<ChartShape> shapes; ///< in the order in which they are drawn
    std::string title, alternative; ///< for readers who do not see it
};

/// The width of a text in letters of \p size points.
using ChartTextWidth = std::function<double(std::string_view text, double size, bool bold)>;

/// Widths as of a condensed sans serif, for outputs whose font is not known. Rather too wide than too narrow.
[[nodiscard]] double approximateTextWidth(std::string_view text, double size, bool bold);

/// Lays a chart out. Any data gives a picture within \p size with finite numbers only. What has no room is put together as "Other", thinned
/// out or ended by an ellipsis, and the line below the title says what is shown. A picture too small to be read has no shapes.
[[nodiscard]] ChartPicture layoutChart(const ChartSpec &spec, const ChartData &data, ChartSize size, const ChartTextWidth &textWidth);

/// What the chart shows in one sentence: its title and the five largest values.
[[nodiscard]] std::string alternativeText(const ChartSpec &spec, const ChartData &data);

/// The list of the largest as a picture of the same kind, for beside a chart: "1. SRV-DC01: 16 (23 %)". Shares are left out where what is
/// not listed is not known.
[[nodiscard]] ChartPicture layoutTopList(const TopList &top, const ChartData &data, ChartSize size, const ChartTextWidth &textWidth);

} // namespace qm
