#include "reporting/viewer/MatchDelegate.h"

#include <QApplication>
#include <QPainter>
#include <QTextLayout>

namespace qm {

void MatchDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const QString text = index.data().toString();
    const bool searched = !m_terms.text.isEmpty() && (m_terms.column < 0 || m_terms.column == index.column()) &&
                          text.contains(m_terms.text, m_terms.matchCase ? Qt::CaseSensitive : Qt::CaseInsensitive);
    if (!searched) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem own = option;
    initStyleOption(&own, index);
    own.text.clear();
    const QStyle *style = own.widget ? own.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &own, painter, own.widget);
    paintMatches(painter, own, text);
}

void MatchDelegate::paintMatches(QPainter *painter, const QStyleOptionViewItem &option, const QString &text) const
{
    const QStyle *style = option.widget ? option.widget->style() : QApplication::style();
    const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, &option, option.widget) + 1;
    const QRect area = option.rect.adjusted(margin, 0, -margin, 0);
    const QString shown = option.fontMetrics.elidedText(text, Qt::ElideRight, area.width());

    QList<QTextLayout::FormatRange> marks;
    const Qt::CaseSensitivity letterCase = m_terms.matchCase ? Qt::CaseSensitive : Qt::CaseInsensitive;
    for (qsizetype at = shown.indexOf(m_terms.text, 0, letterCase); at >= 0;
         at = shown.indexOf(m_terms.text, at + m_terms.text.size(), letterCase)) {
        QTextLayout::FormatRange mark;
        mark.start = static_cast<int>(at);
        mark.length = static_cast<int>(m_terms.text.size());
        mark.format.setBackground(QColor(255, 214, 77));
        mark.format.setForeground(Qt::black);
        marks.append(mark);
    }
    QTextLayout layout(shown, option.font);
    QTextOption direction(option.displayAlignment & Qt::AlignRight ? Qt::AlignRight | Qt::AlignAbsolute
                                                                   : Qt::AlignLeft | Qt::AlignAbsolute);
    direction.setWrapMode(QTextOption::NoWrap);
    layout.setTextOption(direction);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setLineWidth(area.width());
    layout.endLayout();

    const bool selected = option.state.testFlag(QStyle::State_Selected);
    painter->save();
    painter->setClipRect(option.rect);
    painter->setPen(option.palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
    layout.draw(painter, QPointF(area.left(), area.top() + (area.height() - line.height()) / 2), marks);
    painter->restore();
}

} // namespace qm
