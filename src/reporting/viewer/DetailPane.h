/// \file
/// Shows one whole row of the viewer, long texts wrapped.
#pragma once

#include "reporting/viewer/SpoolJobs.h"

#include <QTextBrowser>

namespace qm {

class SpoolModel;

/// Every column of the current row, one below the other, with the current cell's column in view. Text is shown as it is, never as markup.
class DetailPane final : public QTextBrowser
{
    Q_OBJECT
public:
    /// Longer cells are cut here, with a note, so that one huge cell cannot stop the window.
    static constexpr qsizetype kMaxShown = 200000;

    explicit DetailPane(QWidget *parent = nullptr);
    void showRow(const SpoolModel &model, int row, int column);
    /// Marks the searched text from the next row on; an empty text marks nothing.
    void setTerms(const SearchTerms &terms) { m_terms = terms; }

private:
    void markMatches();
    SearchTerms m_terms;
};

} // namespace qm
