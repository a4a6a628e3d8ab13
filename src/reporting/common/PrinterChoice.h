/// \file
/// Which printer a report goes to, and how many copies.
#pragma once

#include "delivery/PrintQueue.h"
#include "framework/Query.h"

#include <QGroupBox>

#include <memory>

class QComboBox;
class QLabel;
class QSpinBox;

namespace qm {

class BackgroundTask;

/// The printers are asked for in the background when the box is first shown. A name that is not among them may be typed: it may be one of
/// the machine that runs the schedule.
class PrinterChoice final : public QGroupBox
{
    Q_OBJECT
public:
    explicit PrinterChoice(QWidget *parent = nullptr);
    ~PrinterChoice() override;

    void setPrinter(const PrinterOutput &printer);
    [[nodiscard]] PrinterOutput printer() const;

Q_SIGNALS:
    void changed();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void showQueues();
    void refreshHint();

    bool m_isKnown = false; ///< whether the printers are known
    QComboBox *m_name;
    QSpinBox *m_copies;
    QLabel *m_hint;
    std::shared_ptr<PrintQueueList> m_found;
    std::unique_ptr<BackgroundTask> m_asking;
};

} // namespace qm
