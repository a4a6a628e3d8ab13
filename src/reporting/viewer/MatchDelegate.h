/// \file
/// Paints viewer cells in plain text with the searched text marked.
#pragma once

#include "reporting/viewer/SpoolJobs.h"

#include <QStyledItemDelegate>

namespace qm {

class MatchDelegate final : public QStyledItemDelegate
{
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    /// An empty text marks nothing.
    void setTerms(const SearchTerms &terms) { m_terms = terms; }
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    void paintMatches(QPainter *painter, const QStyleOptionViewItem &option, const QString &text) const;
    SearchTerms m_terms;
};

} // namespace qm
