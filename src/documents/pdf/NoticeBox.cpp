#include "documents/pdf/NoticeBox.h"

namespace qm::pdf {

namespace {

constexpr Tenths kBar = 20, kPadding = 50, kBelow = 60;
constexpr std::uint32_t kMostLines = 12;
const LineMetrics kMetrics(85, 110);

} // namespace

TextBlock NoticeBox::wrap(const std::string &text)
{
    return m_layout.wrapAtMost(text, TextStyle::Bold, kMetrics.limitFor(m_right - m_left - kBar - 2 * kPadding), kMostLines);
}

Tenths NoticeBox::height(const std::string &text)
{
    return static_cast<Tenths>(wrap(text).lineCount) * kMetrics.height + 2 * kPadding + kBelow;
}

Tenths NoticeBox::lineHeight() const
{
    return kMetrics.height + 2 * kPadding + kBelow;
}

bool NoticeBox::fitsOneLine(const std::string &text)
{
    return wrap(text).lineCount == 1;
}

void NoticeBox::draw(const std::string &text, Tenths top, PageContent &content)
{
    const TextBlock block = wrap(text);
    const Tenths height = static_cast<Tenths>(block.lineCount) * kMetrics.height + 2 * kPadding;
    content.fill(Fill::Notice, m_left + kBar, m_right, top, height);
    content.fill(Fill::NoticeBar, m_left, m_left + kBar, top, height);
    content.text().setInk(Ink::Notice);
    for (std::uint32_t i = 0; i < block.lineCount; ++i)
        content.text().drawLine(block, i, m_left + kBar + kPadding, m_right - kPadding, TextCanvas::Place::Start,
                                top - kPadding - static_cast<Tenths>(i) * kMetrics.height - kMetrics.baseline, kMetrics.size);
    content.text().setInk(Ink::Text);
}

} // namespace qm::pdf
