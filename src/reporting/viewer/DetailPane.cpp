#include "reporting/viewer/DetailPane.h"

#include "reporting/common/VisibleText.h"
#include "reporting/viewer/SpoolModel.h"

#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>

namespace qm {

namespace {
constexpr qsizetype kMaxMarks = 500;
}

DetailPane::DetailPane(QWidget *parent) : QTextBrowser(parent)
{
    setObjectName(QStringLiteral("detailPane"));
    setAccessibleName(tr("Details of the row"));
    setOpenLinks(false);
    setUndoRedoEnabled(false);
    setTabChangesFocus(true);
    setPlaceholderText(tr("Select a row to see it whole"));
    document()->setDocumentMargin(10);
}

void DetailPane::showRow(const SpoolModel &model, int row, int column)
{
    clear();
    if (row < 0 || row >= model.rowCount())
        return;
    QTextCursor cursor(document());
    QTextCharFormat caption, value, missing;
    caption.setFontWeight(QFont::DemiBold);
    caption.setForeground(palette().color(QPalette::PlaceholderText));
    value.setForeground(palette().color(QPalette::Text));
    missing.setForeground(palette().color(QPalette::PlaceholderText));
    missing.setFontItalic(true);
    QTextBlockFormat captionBlock, valueBlock;
    captionBlock.setTopMargin(6);
    int currentAt = 0;
    for (int i = 0; i < model.columnCount(); ++i) {
        if (i > 0)
            cursor.insertBlock();
        cursor.setBlockFormat(captionBlock);
        if (i == column)
            currentAt = cursor.position();
        cursor.insertText(model.headerData(i, Qt::Horizontal).toString(), caption);
        cursor.insertBlock(valueBlock);
        if (model.isNull(row, i)) {
            cursor.insertText(tr("(empty)"), missing);
            continue;
        }
        const QString text = model.fullText(row, i);
        cursor.insertText(visibleText(QStringView(text).left(kMaxShown), LineBreaks::Kept), value);
        if (text.size() > kMaxShown)
            cursor.insertText(tr("… (%1 characters more; copy the cell to have it whole)").arg(text.size() - kMaxShown), missing);
    }
    markMatches();
    QTextCursor current(document());
    current.setPosition(currentAt);
    setTextCursor(current);
    const int top = cursorRect(current).top();
    if (column > 0 && document()->size().height() > viewport()->height())
        verticalScrollBar()->setValue(verticalScrollBar()->value() + top - 4);
}

void DetailPane::markMatches()
{
    QList<QTextEdit::ExtraSelection> marks;
    QTextDocument::FindFlags flags;
    flags.setFlag(QTextDocument::FindCaseSensitively, m_terms.matchCase);
    QTextCursor at(document());
    while (!m_terms.text.isEmpty() && marks.size() < kMaxMarks) {
        at = document()->find(m_terms.text, at, flags);
        if (at.isNull())
            break;
        QTextEdit::ExtraSelection mark;
        mark.cursor = at;
        mark.format.setBackground(QColor(255, 214, 77));
        mark.format.setForeground(Qt::black);
        marks << mark;
    }
    setExtraSelections(marks);
}

} // namespace qm
