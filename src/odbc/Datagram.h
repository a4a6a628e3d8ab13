/// \file
/// One question by UDP and its answer.
#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>

namespace qm::odbc {

struct DatagramAnswer
{
    enum class Result { Answered, UnknownName, Unreachable, Silent };
    Result result = Result::Answered;
    QString words; ///< of the system, where it said why
    QByteArray bytes{};
};

/// Sends \p question to \p port of \p host, a name or an address, and waits at most \p patience for one answer. May be called on any
/// thread.
[[nodiscard]] DatagramAnswer askByDatagram(const QString &host, quint16 port, const QByteArray &question,
                                           std::chrono::milliseconds patience);

} // namespace qm::odbc
