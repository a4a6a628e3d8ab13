#include "odbc/InstanceBrowser.h"

#include "odbc/Datagram.h"

#include <QList>

namespace qm::odbc {

namespace {

constexpr quint16 kBrowserPort = 1434;
constexpr char kAskForInstance = 0x04, kAnswer = 0x05;
constexpr qsizetype kAnswerHeader = 3;

InstanceAnswer failed(Stage stage, const QString &words)
{
    InstanceAnswer answer;
    answer.failure = {stage, {{QString(), 0, words, 0}}};
    return answer;
}

/// The port in "ServerName;X;InstanceName;Y;...;tcp;1433;;"; 0 when there is none.
int portIn(const QByteArray &datagram)
{
    if (datagram.size() <= kAnswerHeader || datagram.front() != kAnswer)
        return 0;
    const QList<QByteArray> words = datagram.mid(kAnswerHeader).split(';');
    for (qsizetype i = 0; i + 1 < words.size(); i += 2)
        if (words[i].toLower() == "tcp")
            return words[i + 1].toInt();
    return 0;
}

} // namespace

InstanceAnswer askForInstance(const QString &host, const QString &instance, std::chrono::milliseconds patience)
{
    const QString insteadOfAsking = QStringLiteral("Ask for the instance's port and write \"%1,Port\" as the server.").arg(host);
    using Result = DatagramAnswer::Result;
    const DatagramAnswer told = askByDatagram(host, kBrowserPort, QByteArray(1, kAskForInstance) + instance.toLocal8Bit() + '\0', patience);
    switch (told.result) {
    case Result::UnknownName:
        return failed(Stage::Name, QStringLiteral("the server's name \"%1\" cannot be resolved: %2").arg(host, told.words));
    case Result::Unreachable:
        return failed(Stage::Network, QStringLiteral("%1 cannot be reached: %2").arg(host, told.words));
    case Result::Silent:
        return failed(Stage::Network, QStringLiteral("the SQL Server Browser of %1 (UDP port %2) did not tell the port of the instance "
                                                     "\"%3\" within %4 seconds. %5")
                                          .arg(host)
                                          .arg(kBrowserPort)
                                          .arg(instance)
                                          .arg(static_cast<double>(patience.count()) / 1000)
                                          .arg(insteadOfAsking));
    case Result::Answered:
        break;
    }
    InstanceAnswer answer;
    answer.port = portIn(told.bytes);
    if (answer.port <= 0 || answer.port > 0xFFFF)
        return failed(Stage::Name, QStringLiteral("the SQL Server Browser of %1 knows no TCP port of an instance \"%2\". %3")
                                       .arg(host, instance, insteadOfAsking));
    return answer;
}

} // namespace qm::odbc
