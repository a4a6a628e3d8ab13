#include "odbc/Datagram.h"

#include <array>
#include <memory>

#include <winsock2.h>
#include <ws2tcpip.h>

namespace qm::odbc {

namespace {

using Result = DatagramAnswer::Result;

/// The socket library, for as long as it is used.
class Sockets final
{
public:
    Sockets() : m_code(WSAStartup(MAKEWORD(2, 2), &m_data)) {}
    ~Sockets()
    {
        if (m_code == 0)
            WSACleanup();
    }
    Sockets(const Sockets &) = delete;
    Sockets &operator=(const Sockets &) = delete;
    [[nodiscard]] int code() const { return m_code; }

private:
    WSADATA m_data{};
    int m_code;
};

struct SocketCloser
{
    struct pointer
    {
        SOCKET number = INVALID_SOCKET;
        pointer() = default;
        pointer(SOCKET given) : number(given) {}
        pointer(std::nullptr_t) {}
        bool operator==(const pointer &) const = default;
    };
    void operator()(pointer socket) const { closesocket(socket.number); }
};
using Socket = std::unique_ptr<SOCKET, SocketCloser>;

struct AddressFreer
{
    void operator()(ADDRINFOW *found) const { FreeAddrInfoW(found); }
};

DatagramAnswer failed(Result result, int code)
{
    return {result, qt_error_string(code).trimmed()};
}

/// Whether something can be read within \p patience.
bool waitForAnswer(SOCKET socket, std::chrono::milliseconds patience)
{
    WSAPOLLFD poll{socket, POLLRDNORM, 0};
    return WSAPoll(&poll, 1, static_cast<int>(patience.count())) > 0;
}

} // namespace

DatagramAnswer askByDatagram(const QString &host, quint16 port, const QByteArray &question, std::chrono::milliseconds patience)
{
    const Sockets sockets;
    if (sockets.code() != 0)
        return failed(Result::Unreachable, sockets.code());
    ADDRINFOW wanted{};
    wanted.ai_socktype = SOCK_DGRAM;
    ADDRINFOW *first = nullptr;
    const int code = GetAddrInfoW(reinterpret_cast<const wchar_t *>(host.utf16()), std::to_wstring(port).c_str(), &wanted, &first);
    const std::unique_ptr<ADDRINFOW, AddressFreer> found(first);
    if (code != 0)
        return failed(Result::UnknownName, code);
    const Socket socket(::socket(found->ai_family, SOCK_DGRAM, 0));
    const SOCKET number = socket.get().number;
    if (number == INVALID_SOCKET || connect(number, found->ai_addr, static_cast<int>(found->ai_addrlen)) != 0 ||
        send(number, question.constData(), static_cast<int>(question.size()), 0) < 0)
        return failed(Result::Unreachable, WSAGetLastError());
    constexpr std::size_t largest = 65536;
    auto bytes = std::make_unique<std::array<char, largest>>();
    const int got = waitForAnswer(number, patience) ? recv(number, bytes->data(), static_cast<int>(largest), 0) : -1;
    if (got < 0)
        return {Result::Silent, {}};
    return {Result::Answered, {}, QByteArray(bytes->data(), got)};
}

} // namespace qm::odbc
