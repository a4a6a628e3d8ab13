#include "odbc/Datagram.h"

#include <QHostInfo>
#include <QUdpSocket>

namespace qm::odbc {

DatagramAnswer askByDatagram(const QString &host, quint16 port, const QByteArray &question, std::chrono::milliseconds patience)
{
    using Result = DatagramAnswer::Result;
    QHostAddress address(host); // the name service would look an address up backwards
    if (address.isNull()) {
        const QHostInfo info = QHostInfo::fromName(host);
        if (info.addresses().isEmpty())
            return {Result::UnknownName, info.errorString()};
        address = info.addresses().first();
    }
    QUdpSocket socket;
    socket.connectToHost(address, port);
    if (!socket.waitForConnected(static_cast<int>(patience.count())))
        return {Result::Unreachable, socket.errorString()};
    socket.write(question);
    if (!socket.waitForReadyRead(static_cast<int>(patience.count())))
        return {Result::Silent, socket.errorString()};
    QByteArray datagram(static_cast<qsizetype>(socket.pendingDatagramSize() > 0 ? socket.pendingDatagramSize() : 0), '\0');
    datagram.truncate(std::max<qint64>(socket.read(datagram.data(), datagram.size()), 0));
    return {Result::Answered, {}, datagram};
}

} // namespace qm::odbc
