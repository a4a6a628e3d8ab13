#include "documents/charts/ChartCanvas.h"

#include <algorithm>

namespace qm {

ChartPicture layoutTopList(const TopList &top, const ChartData &data, ChartSize size, const ChartTextWidth &textWidth)
{
    using namespace charts;
    constexpr double kEntrySize = 7.5, kLeastLine = 9.75, kMostLine = 16, kHead = 16, kTitleBaseline = 9;
    ChartSpec spec;
    spec.category = top.category;
    spec.value = top.value;
    spec.title = top.caption;
    const Figures figures = figuresOf(spec, data);
    const ValueText values(top.value);
    ChartCanvas canvas(size, textWidth);
    canvas.text({.text = oneLine(top.caption),
                 .at = {0, kTitleBaseline},
                 .size = kTitleSize,
                 .bold = true,
                 .colour = ChartColour::Title,
                 .part = ChartText::Part::Title});
    const std::size_t own = figures.categories.size() - (figures.otherCategory ? 1 : 0);
    const auto room = static_cast<std::size_t>(std::max((size.height - kHead) / kLeastLine, 0.0));
    const std::size_t count = std::min({own, top.most, room});
    double whole = 0;
    for (std::size_t i = 0; i < figures.categories.size(); ++i)
        whole += figures.total(i);
    const bool shares = (figures.otherCategory || own >= figures.all) && !figures.hasNegative();
    const double line = count == 0 ? 0 : std::clamp((size.height - kHead) / static_cast<double>(count), kLeastLine, kMostLine);
    for (std::size_t i = 0; i < count; ++i) {
        const double baseline = kHead + static_cast<double>(i + 1) * line - line / 2 + 2.5;
        const std::string number = std::to_string(i + 1) + ". ";
        const std::string value = values(figures.total(i));
        const std::string share = shares ? shareText(figures.total(i), whole) : std::string();
        const std::string behind = share.empty() ? std::string() : " (" + share + ')';
        const double numberWidth = canvas.widthOf("88. ", kEntrySize);
        const double valueWidth = canvas.widthOf(value, kEntrySize, true);
        const double nameRoom = size.width - numberWidth - valueWidth - canvas.widthOf(": " + behind, kEntrySize);
        const std::string name = ellipsized(figures.categories[i], nameRoom, kEntrySize, false, textWidth) + ": ";
        double left = numberWidth;
        canvas.text({.text = number, .at = {left, baseline}, .anchor = ChartText::Anchor::End, .size = kEntrySize});
        const auto append = [&](const std::string &text, double width, bool bold, ChartText::Part part) {
            canvas.text({.text = text, .at = {left, baseline}, .size = kEntrySize, .bold = bold, .part = part});
            left += width;
        };
        append(name, canvas.widthOf(name, kEntrySize), false, ChartText::Part::Category);
        append(value, valueWidth, true, ChartText::Part::Value);
        append(behind, 0, false, ChartText::Part::Value);
    }
    ChartPicture picture = canvas.take();
    picture.title = oneLine(top.caption);
    picture.alternative = alternativeText(spec, data);
    return picture;
}

} // namespace qm
