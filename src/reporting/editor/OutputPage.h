/// \file
/// The output page of the query editor.
#pragma once

#include "core/Clock.h"
#include "engine/run/QueryHome.h"
#include "framework/Query.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QSpinBox;

namespace qm {

class PrinterChoice;

/// Where the report goes, in which format and under which name, with an example of the name as it would be now.
class OutputPage final : public QWidget
{
    Q_OBJECT
public:
    OutputPage(const Clock &clock, const QueryHome &home, QWidget *parent = nullptr);

    void show(const Query &query);
    /// Writes the page's settings into \p query; settings that the page does not show stay.
    void store(Query &query) const;
    /// What the example of the file name depends on.
    void setSubject(const QString &description, const QString &periodPhrase);

Q_SIGNALS:
    void changed();

private:
    void buildFile();
    void buildMail();
    void refresh();
    [[nodiscard]] ReportFormat format() const;

    const Clock &m_clock;
    const QueryHome &m_home;
    QString m_description, m_period;
    int m_otherType = 0; ///< a code this version does not offer, kept
    QComboBox *m_type, *m_format;
    QGroupBox *m_file, *m_mail;
    PrinterChoice *m_printer;
    QLineEdit *m_pattern, *m_from, *m_to, *m_cc, *m_bcc, *m_subjectLine;
    QLabel *m_example;
    QCheckBox *m_mark, *m_guard;
    QPlainTextEdit *m_body;
    QSpinBox *m_limit, *m_timeout;
};

} // namespace qm
