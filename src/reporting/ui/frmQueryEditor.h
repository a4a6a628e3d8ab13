/// \file
/// The query editor of the packages.
#pragma once

#include "reporting/ui/BackgroundTask.h"
#include "reporting/ui/EditedQuery.h"
#include "reporting/ui/QueryProbe.h"

#include <QDialog>

#include <memory>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
class QTabWidget;
class QTimer;
class QVBoxLayout;

namespace qm {

class LayoutEditor;
class NoticeStrip;
class OutputPage;
class ParameterTable;
class PeriodPicker;
class PreviewPane;
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
    /// Why the query cannot be saved, and where the operator mends it.
    struct Problem
    {
        QString text;
        QWidget *where = nullptr;
    };

    QWidget *buildHead();
    void buildButtons(QVBoxLayout *layout);
    void showSaved();
    void connectChanges();
    [[nodiscard]] QueryDraft draft() const;
    [[nodiscard]] QString dataSource() const;
    [[nodiscard]] Problem findProblem() const;
    [[nodiscard]] QString parameterProblem() const;
    void showProblem(const Problem &problem);
    void edited();
    void sqlEdited();
    void sourceEdited();
    void startCheck();
    void checkEnded();
    void openLayout();
    [[nodiscard]] ProbeRequest probeRequest() const;
    [[nodiscard]] SqlDialect dialect() const;

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
    QTimer *m_checkSoon = nullptr, *m_schemaSoon = nullptr;
    std::unique_ptr<BackgroundTask> m_check;
    bool m_checkAgain = false;
};

} // namespace qm
