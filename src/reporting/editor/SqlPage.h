/// \file
/// The SQL page of the query editor: text, find and replace, tables, and the place of errors.
#pragma once

#include <QWidget>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace qm {

class NoticeStrip;
class SchemaBrowser;
class SqlEdit;

class SqlPage final : public QWidget
{
    Q_OBJECT
public:
    explicit SqlPage(QWidget *parent = nullptr);

    [[nodiscard]] SqlEdit &edit() const { return *m_edit; }
    [[nodiscard]] SchemaBrowser &schema() const { return *m_schema; }
    /// Shows the database's words and marks their place; an empty text takes them away.
    void showError(const QString &words);

private:
    QWidget *buildFindBar();
    void openFindBar(bool replace);
    void find(bool backwards);

    SqlEdit *m_edit;
    SchemaBrowser *m_schema;
    NoticeStrip *m_error;
    QWidget *m_findBar;
    QLineEdit *m_find = nullptr, *m_replace = nullptr;
    QCheckBox *m_case = nullptr;
    QLabel *m_found = nullptr;
    QPushButton *m_replaceOne = nullptr, *m_replaceAll = nullptr;
    int m_errorLine = 0, m_errorColumn = 0;
};

} // namespace qm
