/// \file
/// One window per installation.
#pragma once

#include <QObject>
#include <QString>

#include <memory>

namespace qm {

/// Holds the installation's lock file ("Config/quillmark.lock": host, process, user). A lock left by a dead process does not block.
class InstanceLock final : public QObject
{
    Q_OBJECT
public:
    enum class Result { Acquired, HeldBySameUser, HeldByOther, NotLockable /* folder not writable: go on without */ };

    explicit InstanceLock(const QString &installPath, QObject *parent = nullptr);
    ~InstanceLock() override;

    Result acquire();
    /// Who holds it, for the message of HeldByOther.
    [[nodiscard]] QString holder() const;
    /// Asks the holder (same user) to raise its window.
    void askHolderToRaise();

Q_SIGNALS:
    /// A second start of the same user asked this one to come to the front.
    void raiseRequested();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
