#include "reporting/editor/SqlEdit.h"

#include "core/PlainTip.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QFontDatabase>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStringListModel>
#include <QTextBlock>
#include <QToolTip>

namespace qm {

namespace {

class LineNumbers final : public QWidget
{
public:
    explicit LineNumbers(SqlEdit *edit) : QWidget(edit), m_edit(edit) {}
    [[nodiscard]] QSize sizeHint() const override { return {m_edit->numbersWidth(), 0}; }

protected:
    void paintEvent(QPaintEvent *event) override { m_edit->paintNumbers(event); }

private:
    SqlEdit *m_edit;
};

constexpr int kIndent = 4;

} // namespace

SqlEdit::SqlEdit(QWidget *parent)
    : QPlainTextEdit(parent), m_highlighter(new SqlHighlighter(document(), palette())), m_numbers(new LineNumbers(this)),
      m_completer(new QCompleter(this)), m_words(new QStringListModel(this))
{
    setObjectName(QStringLiteral("sql"));
    setAccessibleName(tr("SQL"));
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setTabStopDistance(fontMetrics().horizontalAdvance(u' ') * kIndent);
    m_completer->setModel(m_words);
    m_completer->setWidget(this);
    m_completer->setCaseSensitivity(Qt::CaseInsensitive);
    m_completer->setCompletionMode(QCompleter::PopupCompletion);
    m_completer->setFilterMode(Qt::MatchStartsWith);
    m_completer->setMaxVisibleItems(12);
    connect(m_completer, qOverload<const QString &>(&QCompleter::activated), this, &SqlEdit::complete);
    connect(this, &QPlainTextEdit::blockCountChanged, this, [this] { setViewportMargins(numbersWidth(), 0, 0, 0); });
    connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect &area, int dy) {
        if (dy != 0)
            m_numbers->scroll(0, dy);
        else
            m_numbers->update(0, area.y(), m_numbers->width(), area.height());
    });
    connect(this, &QPlainTextEdit::cursorPositionChanged, this, &SqlEdit::refreshMarks);
    setViewportMargins(numbersWidth(), 0, 0, 0);
    refreshMarks();
}

void SqlEdit::setDialect(SqlDialect dialect)
{
    m_dialect = dialect;
    m_highlighter->setDialect(dialect);
}

int SqlEdit::numbersWidth() const
{
    const int digits = std::max(2, static_cast<int>(QString::number(blockCount()).size()));
    return fontMetrics().horizontalAdvance(u'9') * digits + 14;
}

void SqlEdit::paintNumbers(QPaintEvent *event)
{
    QPainter painter(m_numbers);
    painter.fillRect(event->rect(), palette().color(QPalette::AlternateBase));
    QTextBlock block = firstVisibleBlock();
    qreal top = blockBoundingGeometry(block).translated(contentOffset()).top();
    const int current = textCursor().blockNumber();
    for (; block.isValid() && top <= event->rect().bottom(); block = block.next()) {
        const qreal height = blockBoundingRect(block).height();
        const bool wrong = block.blockNumber() + 1 == m_errorLine;
        painter.setPen(wrong ? QColor(200, 40, 40)
                             : palette().color(block.blockNumber() == current ? QPalette::Text : QPalette::PlaceholderText));
        QFont font = this->font();
        font.setBold(wrong);
        painter.setFont(font);
        painter.drawText(QRectF(0, top, m_numbers->width() - 7, height), Qt::AlignRight | Qt::AlignVCenter,
                         QString::number(block.blockNumber() + 1));
        top += height;
    }
}

void SqlEdit::resizeEvent(QResizeEvent *event)
{
    QPlainTextEdit::resizeEvent(event);
    const QRect area = contentsRect();
    m_numbers->setGeometry(area.left(), area.top(), numbersWidth(), area.height());
}

void SqlEdit::changeEvent(QEvent *event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_highlighter) {
        m_highlighter->setPalette(palette());
        refreshMarks();
    }
}

bool SqlEdit::event(QEvent *event)
{
    if (event->type() == QEvent::ToolTip && m_errorLine > 0) {
        const auto help = static_cast<QHelpEvent *>(event);
        if (cursorForPosition(viewport()->mapFrom(this, help->pos())).blockNumber() + 1 == m_errorLine) {
            QToolTip::showText(help->globalPos(), plainTip(m_errorWords), this);
            return true;
        }
    }
    return QPlainTextEdit::event(event);
}

void SqlEdit::markError(int line, int column, const QString &words)
{
    m_errorLine = line;
    m_errorColumn = column;
    m_errorWords = words;
    refreshMarks();
    m_numbers->update();
}

void SqlEdit::goTo(int line, int column)
{
    QTextCursor cursor(document()->findBlockByNumber(line - 1));
    cursor.movePosition(QTextCursor::Right, QTextCursor::MoveAnchor, std::min(std::max(column - 1, 0), cursor.block().length() - 1));
    setTextCursor(cursor);
    centerCursor();
    setFocus();
}

void SqlEdit::refreshMarks()
{
    QList<QTextEdit::ExtraSelection> marks;
    QTextEdit::ExtraSelection line;
    QColor tint = palette().color(QPalette::Highlight);
    tint.setAlpha(28);
    line.format.setBackground(tint);
    line.format.setProperty(QTextFormat::FullWidthSelection, true);
    line.cursor = textCursor();
    line.cursor.clearSelection();
    marks << line;
    const QTextBlock wrong = m_errorLine > 0 ? document()->findBlockByNumber(m_errorLine - 1) : QTextBlock();
    if (wrong.isValid()) {
        QTextEdit::ExtraSelection error;
        error.cursor = QTextCursor(wrong);
        error.cursor.movePosition(QTextCursor::Right, QTextCursor::MoveAnchor,
                                  std::min(std::max(m_errorColumn - 1, 0), wrong.length() - 1));
        if (!error.cursor.atBlockEnd())
            error.cursor.movePosition(QTextCursor::EndOfWord, QTextCursor::KeepAnchor);
        if (!error.cursor.hasSelection())
            error.cursor.movePosition(error.cursor.atBlockEnd() ? QTextCursor::PreviousCharacter : QTextCursor::NextCharacter,
                                      QTextCursor::KeepAnchor);
        error.format.setUnderlineStyle(QTextCharFormat::WaveUnderline);
        error.format.setUnderlineColor(QColor(214, 40, 40));
        error.format.setBackground(QColor(214, 40, 40, 40));
        marks << error;
    }
    addBracketMarks(marks);
    setExtraSelections(marks);
    m_numbers->update();
}

void SqlEdit::addBracketMarks(QList<QTextEdit::ExtraSelection> &marks)
{
    // Only brackets that the lexer calls operators count: those in strings and comments match nothing.
    const QString text = toPlainText();
    std::vector<qsizetype> open;
    const qsizetype at = textCursor().position();
    for (const SqlToken &token : m_highlighter->tokens()) {
        if (token.kind != SqlToken::Kind::Operator)
            continue;
        for (qsizetype place = token.offset; place < token.offset + token.length; ++place) {
            if (text[place] == u'(')
                open.push_back(place);
            if (text[place] != u')' || open.empty())
                continue;
            const qsizetype partner = open.back();
            open.pop_back();
            if (at != place + 1 && at != place && at != partner && at != partner + 1)
                continue;
            for (const qsizetype bracket : {partner, place}) {
                QTextEdit::ExtraSelection mark;
                mark.cursor = QTextCursor(document());
                mark.cursor.setPosition(static_cast<int>(bracket));
                mark.cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor);
                QColor tint = palette().color(QPalette::Highlight);
                tint.setAlpha(110);
                mark.format.setBackground(tint);
                marks << mark;
            }
        }
    }
}

void SqlEdit::keyPressEvent(QKeyEvent *event)
{
    if (m_completer->popup()->isVisible()) {
        switch (event->key()) {
        case Qt::Key_Enter:
        case Qt::Key_Return:
        case Qt::Key_Escape:
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
            event->ignore(); // the list of completions takes them
            return;
        default:
            break;
        }
    }
    if (event->key() == Qt::Key_Space && event->modifiers() == Qt::ControlModifier) {
        offerCompletions(true);
        return;
    }
    if (event->key() == Qt::Key_Tab && event->modifiers() == Qt::NoModifier) {
        textCursor().insertText(QString(kIndent - textCursor().positionInBlock() % kIndent, u' '));
        return;
    }
    if (event->key() == Qt::Key_Backtab) {
        QTextCursor cursor = textCursor();
        cursor.movePosition(QTextCursor::StartOfBlock);
        for (int i = 0; i < kIndent && document()->characterAt(cursor.position()) == u' '; ++i)
            cursor.deleteChar();
        return;
    }
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && event->modifiers() == Qt::NoModifier) {
        indentNewLine();
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
    const QString typed = event->text();
    if (!typed.isEmpty() && (typed.front().isLetterOrNumber() || typed.front() == u'_' || typed.front() == u'.' || typed.front() == u':'))
        offerCompletions(false);
    else
        m_completer->popup()->hide();
}

void SqlEdit::indentNewLine()
{
    const QString line = textCursor().block().text();
    qsizetype blanks = 0;
    while (blanks < line.size() && line[blanks] == u' ')
        ++blanks;
    textCursor().insertText(u'\n' + QString(std::min<qsizetype>(blanks, textCursor().positionInBlock()), u' '));
    ensureCursorVisible();
}

void SqlEdit::offerCompletions(bool asked)
{
    const QString text = toPlainText();
    const qsizetype position = textCursor().position(), start = wordStart(text, position);
    for (const SqlToken &token : m_highlighter->tokens()) {
        const qsizetype end = token.offset + token.length;
        const bool lineComment = token.kind == SqlToken::Kind::Comment && text[token.offset] == u'-';
        const bool isText = token.kind == SqlToken::Kind::Comment || token.kind == SqlToken::Kind::String;
        if (isText && position > token.offset && (position < end || (position == end && (lineComment || !token.closed))))
            return;
    }
    const bool afterMark = start > 0 && (text[start - 1] == u'.' || text[start - 1] == u':');
    if (!asked && !afterMark && position - start < 2) {
        m_completer->popup()->hide();
        return;
    }
    const QString prefix = text.mid(start, position - start);
    m_words->setStringList(completionsAt(text, position, m_dialect, m_schema));
    m_completer->setCompletionPrefix(prefix);
    const bool complete = m_completer->completionCount() == 1 && m_completer->currentCompletion().compare(prefix, Qt::CaseInsensitive) == 0;
    if (m_completer->completionCount() == 0 || complete) {
        m_completer->popup()->hide();
        return;
    }
    m_completer->popup()->setCurrentIndex(m_completer->completionModel()->index(0, 0));
    QRect place = cursorRect();
    place.translate(numbersWidth(), 0);
    place.setWidth(m_completer->popup()->sizeHintForColumn(0) + m_completer->popup()->verticalScrollBar()->sizeHint().width() + 16);
    m_completer->complete(place);
}

void SqlEdit::complete(const QString &word)
{
    QTextCursor cursor = textCursor();
    const qsizetype start = wordStart(toPlainText(), cursor.position());
    cursor.setPosition(static_cast<int>(start), QTextCursor::KeepAnchor);
    cursor.insertText(word);
    setTextCursor(cursor);
}

void SqlEdit::insertName(const QString &text)
{
    QTextCursor cursor = textCursor();
    const QChar before = document()->characterAt(cursor.selectionStart() - 1);
    const bool apart = cursor.selectionStart() > 0 && (before.isLetterOrNumber() || before == u'_' || before == u'"' || before == u',');
    cursor.insertText((apart ? QStringLiteral(" ") : QString()) + text);
    setTextCursor(cursor);
    setFocus();
}

bool SqlEdit::findText(const QString &text, bool matchCase, bool backwards)
{
    QTextDocument::FindFlags flags;
    flags.setFlag(QTextDocument::FindCaseSensitively, matchCase);
    flags.setFlag(QTextDocument::FindBackward, backwards);
    if (text.isEmpty())
        return false;
    if (find(text, flags))
        return true;
    const QTextCursor before = textCursor();
    moveCursor(backwards ? QTextCursor::End : QTextCursor::Start);
    if (find(text, flags))
        return true;
    setTextCursor(before);
    return false;
}

bool SqlEdit::replaceSelection(const QString &text, const QString &by, bool matchCase)
{
    QTextCursor cursor = textCursor();
    if (cursor.selectedText().compare(text, matchCase ? Qt::CaseSensitive : Qt::CaseInsensitive) != 0)
        return false;
    cursor.insertText(by);
    return true;
}

int SqlEdit::replaceAll(const QString &text, const QString &by, bool matchCase)
{
    if (text.isEmpty())
        return 0;
    QTextCursor edit(document());
    edit.beginEditBlock();
    int count = 0;
    QTextDocument::FindFlags flags;
    flags.setFlag(QTextDocument::FindCaseSensitively, matchCase);
    for (QTextCursor found = document()->find(text, 0, flags); !found.isNull(); found = document()->find(text, found, flags)) {
        found.insertText(by);
        ++count;
    }
    edit.endEditBlock();
    return count;
}

} // namespace qm
