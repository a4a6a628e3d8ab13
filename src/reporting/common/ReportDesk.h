/// \file
/// What all report runs of one program share: whether the operator's is producing rows, the open viewers, and values the operator entered
/// before.
#pragma once

#include <QMap>
#include <QObject>
#include <QPointer>
#include <QWidget>

#include <cstddef>
#include <deque>

namespace qm {

/// Made once by main and handed to every report interface. Lives in the user-interface thread.
class ReportDesk final : public QObject
{
    Q_OBJECT
public:
    static constexpr std::size_t kMaxViewers = 20;

    /// Marks the desk busy with the operator's own report for the life of the object.
    class Producing final
    {
    public:
        explicit Producing(ReportDesk &desk);
        ~Producing();
        Producing(const Producing &) = delete;
        Producing &operator=(const Producing &) = delete;

    private:
        ReportDesk &m_desk;
    };

    using QObject::QObject;
    ~ReportDesk() override;

    /// Whether rows of the operator's own report are being produced right now; prompts, editors, open viewers and what is made in the
    /// background do not count.
    [[nodiscard]] bool isProducingRows() const { return m_isProducing; }

    /// Keeps \p viewer among the open ones; the oldest is closed when there are more than kMaxViewers.
    void addViewer(QWidget *viewer);
    [[nodiscard]] int viewerCount() const;
    void closeViewers();

    /// Parameter values last entered for \p queryFile in this session, by parameter name.
    [[nodiscard]] QMap<QString, QString> lastValues(const QString &queryFile) const { return m_lastValues.value(queryFile); }
    void rememberValues(const QString &queryFile, const QMap<QString, QString> &values) { m_lastValues.insert(queryFile, values); }

Q_SIGNALS:
    void runStarted();
    void runEnded();

private:
    void dropClosedViewers();

    bool m_isProducing = false;
    std::deque<QPointer<QWidget>> m_viewers;
    QMap<QString, QMap<QString, QString>> m_lastValues;
};

} // namespace qm
