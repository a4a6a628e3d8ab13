/// \file
/// A sentence that a reader must not miss, in a box across the page.
#pragma once

#include "documents/pdf/PageContent.h"
#include "documents/pdf/PageGeometry.h"

#include <string>

namespace qm::pdf {

class NoticeBox final
{
public:
    NoticeBox(TextLayout &layout, Tenths left, Tenths right) : m_layout(layout), m_left(left), m_right(right) {}

    /// How much \p text takes, with the space below it.
    [[nodiscard]] Tenths height(const std::string &text);
    void draw(const std::string &text, Tenths top, PageContent &content);

    [[nodiscard]] bool fitsOneLine(const std::string &text);
    /// Height of a box of one line, with the space below it.
    [[nodiscard]] Tenths lineHeight() const;

private:
    [[nodiscard]] TextBlock wrap(const std::string &text);
    TextLayout &m_layout;
    Tenths m_left, m_right;
};

} // namespace qm::pdf
