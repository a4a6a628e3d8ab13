/// \file
/// The query editor of the packages.
#pragma once

#include "reporting/editor/EditedQuery.h"
#include "reporting/editor/QueryProbe.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
class QTabWidget;
class QVBoxLayout;

namespace qm {

class LayoutEditor;
class NoticeStrip;
class OutputPage;
class ParameterTable;
class PeriodPicker;
class PreviewPane;
class SqlCheck;
class SqlPage;
struct ReportingUiServices;

/// Edits one query: what it is called, where its rows come from, its SQL, parameters, layout and output. Nothing is written before a save;
/// closing with changes asks.
class frmQueryEditor final : public QDialog
{
    Q_OBJECT
public:
    /// \p target: a group folder with trailing separator for a new query, or a query file. \throws RuntimeError as the readers do.
    frmQueryEditor(ReportingUiServices &services, const QString &target, QWidget *parent);
    ~frmQueryEditor() override;

    [[nodiscard]] bool isDirty() const;
    /// Validates and writes. \returns whether that succeeded; the reason is shown otherwise.
    bool save();
    void preview();

    void reject() override;

private:
    QWidget *buildHead();
    void buildButtons(QVBoxLayout *layout);
    void showSaved();
    void connectChanges();
    /// The query as the pages show it.
    [[nodiscard]] QueryDraft draft() const;
    [[nodiscard]] bool differsFromSaved(const QueryDraft &draft) const;
    [[nodiscard]] QString dataSource() const;
    [[nodiscard]] QWidget *widgetOf(DraftField field) const;
    /// \p where the operator mends it; may be null.
    void showProblem(const QString &problem, QWidget *where = nullptr);
    void edited();
    void sqlEdited();
    void sourceEdited();
    void checkSql();
    void openLayout();
    [[nodiscard]] ProbeRequest probeRequest() const;
    [[nodiscard]] SqlDialect dialect() const;
    /// Whether the source may be reached without being asked to: a connection that the query file names may not.
    [[nodiscard]] bool mayConnect() const;
    void connectSource();

    ReportingUiServices &m_services;
    EditedQuery m_edited;
    QByteArray m_baseline; ///< fingerprint of what was last saved, as the pages show it
    bool m_showing = false;

    QLineEdit *m_description = nullptr, *m_connection = nullptr;
    QComboBox *m_source = nullptr;
    QCheckBox *m_usePeriod = nullptr;
    PeriodPicker *m_period = nullptr;
    QTabWidget *m_tabs = nullptr;
    SqlPage *m_sql = nullptr;
    ParameterTable *m_parameters = nullptr;
    LayoutEditor *m_layout = nullptr;
    OutputPage *m_output = nullptr;
    PreviewPane *m_preview = nullptr;
    NoticeStrip *m_problem = nullptr;
    SqlCheck *m_check = nullptr;
    QString m_connected; ///< the ODBC source that the operator asked to be connected
};

} // namespace qm
