#include "odbc/InstanceBrowser.h"

#include <QHostInfo>
#include <QUdpSocket>

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
    QHostAddress address(host); // the name service would look an address up backwards
    if (address.isNull()) {
        const QHostInfo info = QHostInfo::fromName(host);
        if (info.addresses().isEmpty())
            return failed(Stage::Name, QStringLiteral("the server's name \"%1\" cannot be resolved: %2").arg(host, info.errorString()));
        address = info.addresses().first();
    }
    QUdpSocket socket;
    socket.connectToHost(address, kBrowserPort);
    if (!socket.waitForConnected(static_cast<int>(patience.count())))
        return failed(Stage::Network, QStringLiteral("%1 cannot be reached: %2").arg(host, socket.errorString()));
    socket.write(QByteArray(1, kAskForInstance) + instance.toLocal8Bit() + '\0');
    if (!socket.waitForReadyRead(static_cast<int>(patience.count())))
        return failed(Stage::Network, QStringLiteral("the SQL Server Browser of %1 (UDP port %2) did not tell the port of the instance "
                                                     "\"%3\" within %4 seconds. %5")
                                          .arg(host)
                                          .arg(kBrowserPort)
                                          .arg(instance)
                                          .arg(static_cast<double>(patience.count()) / 1000)
                                          .arg(insteadOfAsking));
    QByteArray datagram(static_cast<qsizetype>(socket.pendingDatagramSize() > 0 ? socket.pendingDatagramSize() : 0), '\0');
    datagram.truncate(std::max<qint64>(socket.read(datagram.data(), datagram.size()), 0));
    InstanceAnswer answer;
    answer.port = portIn(datagram);
    if (answer.port <= 0 || answer.port > 0xFFFF)
        return failed(Stage::Name, QStringLiteral("the SQL Server Browser of %1 knows no TCP port of an instance \"%2\". %3")
                                       .arg(host, instance, insteadOfAsking));
    return answer;
}

} // namespace qm::odbc
