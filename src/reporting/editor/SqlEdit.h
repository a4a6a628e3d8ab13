/// \file
/// The SQL text field of the query editor.
#pragma once

#include "reporting/editor/SqlHighlighter.h"
#include "reporting/editor/SqlSchema.h"

#include <QPlainTextEdit>

class QCompleter;
class QStringListModel;

namespace qm {

/// Plain text with line numbers, highlighting, the current line, matching brackets, completion (Ctrl+Space, or by itself after two letters
/// or a dot), and a marked place of an error. A tab is four blanks; Shift+Tab takes them back; Tab leaves the field with Ctrl.
class SqlEdit final : public QPlainTextEdit
{
    Q_OBJECT
public:
    explicit SqlEdit(QWidget *parent = nullptr);

    void setSchema(SqlSchema schema) { m_schema = std::move(schema); }
    void setDialect(SqlDialect dialect);
    /// Marks line \p line from column \p column (both from 1); a line of 0 takes the mark away.
    void markError(int line, int column, const QString &words);
    void goTo(int line, int column);
    /// Writes \p text at the cursor, set apart by a blank where needed.
    void insertName(const QString &text);
    /// Selects the next occurrence, going round; \returns whether there is one.
    bool findText(const QString &text, bool matchCase, bool backwards);
    bool replaceSelection(const QString &text, const QString &by, bool matchCase);
    /// As one step that can be undone. \returns how many were replaced.
    int replaceAll(const QString &text, const QString &by, bool matchCase);

    [[nodiscard]] int numbersWidth() const;
    void paintNumbers(QPaintEvent *event);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool event(QEvent *event) override;

private:
    void refreshMarks();
    void addBracketMarks(QList<QTextEdit::ExtraSelection> &marks);
    void offerCompletions(bool asked);
    void complete(const QString &word);
    void indentNewLine();

    SqlHighlighter *m_highlighter;
    QWidget *m_numbers;
    QCompleter *m_completer;
    QStringListModel *m_words;
    SqlSchema m_schema;
    SqlDialect m_dialect = SqlDialect::Sqlite;
    int m_errorLine = 0, m_errorColumn = 0;
    QString m_errorWords;
};

} // namespace qm
