/// \file
/// How a second start asks the running program of the same user to come to the front.
#pragma once

#include <QObject>
#include <QString>

#include <memory>

namespace qm {

/// The running program listens on a channel that belongs to one lock file. Without a folder for channels nothing is ever heard.
class RaiseChannel final : public QObject
{
    Q_OBJECT
public:
    /// Listens until it is destroyed. Only the holder of \p lockFile may make one.
    explicit RaiseChannel(const QString &lockFile, QObject *parent = nullptr);
    ~RaiseChannel() override;

    /// Asks whoever listens for \p lockFile. Asking nobody does nothing.
    static void ask(const QString &lockFile);
    /// Whether the file at \p path belongs to the user this process runs as.
    [[nodiscard]] static bool isOwnFile(const QString &path);
    /// The name of the user whom it belongs to; empty when the system does not tell.
    [[nodiscard]] static QString ownerOf(const QString &path);

Q_SIGNALS:
    void asked();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
