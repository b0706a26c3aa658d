#include "Relay.h"

#include "Requirements.h"
#include "TextLine.h"

#include <algorithm>
#include <stdexcept>
#include <ws2tcpip.h>

namespace {

/// The end of what has been sent that is searched with what comes next.
constexpr size_t kKept = 4096;

sockaddr* generic(sockaddr_in& address)
{
    return reinterpret_cast<sockaddr*>(&address);
}

sockaddr_in addressOf(const std::wstring& text)
{
    const size_t colon = text.rfind(L':');
    const std::wstring host = text.substr(0, colon);
    const std::wstring port = text.substr(colon + 1);
    ADDRINFOW hints{};
    hints.ai_family = AF_INET;
    ADDRINFOW* found = nullptr;
    if (GetAddrInfoW(host.c_str(), port.c_str(), &hints, &found) != 0)
        throw std::runtime_error("no server's address: " + toUtf8(text));
    const sockaddr_in address = *reinterpret_cast<const sockaddr_in*>(found->ai_addr);
    FreeAddrInfoW(found);
    return address;
}

SOCKET listenHere()
{
    sockaddr_in here{};
    here.sin_family = AF_INET;
    here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const SOCKET listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    if (bind(listener, generic(here), sizeof here) != 0 || listen(listener, SOMAXCONN) != 0)
        throw std::runtime_error("the relay cannot listen");
    return listener;
}

/// Empty at the end of a connection.
std::string receive(SOCKET from)
{
    char data[16'384];
    const int count = recv(from, data, sizeof data, 0);
    return {data, static_cast<size_t>(std::max(count, 0))};
}

/// False at the end of a connection.
bool sendAll(SOCKET to, const std::string& data)
{
    return !data.empty() && send(to, data.data(), static_cast<int>(data.size()), 0) == static_cast<int>(data.size());
}

void sendAtOnce(SOCKET socket)
{
    const BOOL yes = TRUE;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&yes), sizeof yes);
}

} // namespace

Relay::Relay(const std::wstring& address)
{
    WSADATA data{};
    WSAStartup(MAKEWORD(2, 2), &data);
    server_ = addressOf(address);
    listener_ = listenHere();
    thread_ = std::jthread([this](const std::stop_token& end) { serve(end); });
}

Relay::~Relay()
{
    thread_ = {};
    closeAll();
    closesocket(listener_);
    WSACleanup();
    EXPECT_TRUE(cuttingForms_.empty()) << "No statement came with the text that cuts. Is the connection encrypted?";
}

unsigned short Relay::port() const
{
    sockaddr_in here{};
    int size = sizeof here;
    getsockname(listener_, generic(here), &size);
    return ntohs(here.sin_port);
}

std::wstring Relay::dataSource(const std::wstring& dsn) const
{
    return atPort(dsn, port());
}

std::wstring atPort(const std::wstring& dsn, unsigned short port)
{
    // Drivers differ in the keyword and ignore the others'.
    const std::wstring number = std::to_wstring(port);
    return dsn + L";Port=" + number + L";Address=tcp:127.0.0.1," + number + L";Encrypt=no";
}

std::unique_ptr<Relay> relayToServer()
{
    // Without it the private server's settings are incomplete. Not every other server can be reached through a relay.
    const std::wstring address = setting(L"QUINMARK_SERVER_ADDRESS");
    if (!address.empty())
        return std::make_unique<Relay>(address);
    skipWithout(L"QUINMARK_SERVER_ADDRESS", isPostgreSql() ? L"QUINMARK_REQUIRE_DATABASE" : L"");
    return nullptr;
}

void Relay::cut()
{
    const std::lock_guard lock(mutex_);
    closeAll();
}

void Relay::cutAt(const std::wstring& text)
{
    const std::lock_guard lock(mutex_);
    cuttingForms_ = {toUtf8(text), {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)}};
    for (Connection& connection : connections_)
        connection.sent.clear();
}

void Relay::serve(const std::stop_token& end)
{
    while (!end.stop_requested()) {
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(listener_, &readable);
        {
            const std::lock_guard lock(mutex_);
            for (const Connection& connection : connections_) {
                FD_SET(connection.client, &readable);
                FD_SET(connection.server, &readable);
            }
        }
        // It does not notice that `cut` has closed a socket.
        timeval patience{.tv_sec = 0, .tv_usec = 10'000};
        if (select(0, &readable, nullptr, nullptr, &patience) <= 0)
            continue;
        const std::lock_guard lock(mutex_);
        forward(readable);
        if (FD_ISSET(listener_, &readable))
            accept();
    }
}

void Relay::accept()
{
    const Connection connection{::accept(listener_, nullptr, nullptr), socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)};
    if (connect(connection.server, generic(server_), sizeof server_) != 0)
        return close(connection);
    sendAtOnce(connection.client);
    sendAtOnce(connection.server);
    connections_.push_back(connection);
}

void Relay::forward(fd_set& readable)
{
    for (auto connection = connections_.begin(); connection != connections_.end();) {
        const auto& [client, server, sent] = *connection;
        bool open = true;
        if (FD_ISSET(client, &readable)) {
            const std::string data = receive(client);
            if (hasCuttingText(*connection, data))
                return closeAll();
            open = sendAll(server, data);
        }
        if (open && FD_ISSET(server, &readable))
            open = sendAll(client, receive(server));
        if (!open)
            close(*connection);
        connection = open ? connection + 1 : connections_.erase(connection);
    }
}

bool Relay::hasCuttingText(Connection& connection, const std::string& data)
{
    connection.sent += data;
    const bool found = std::ranges::any_of(
        cuttingForms_, [&](const std::string& form) { return connection.sent.find(form) != std::string::npos; });
    if (found)
        cuttingForms_.clear();
    connection.sent.erase(0, connection.sent.size() - std::min(connection.sent.size(), kKept));
    return found;
}

void Relay::close(const Connection& connection)
{
    closesocket(connection.client);
    closesocket(connection.server);
}

void Relay::closeAll()
{
    for (const Connection& connection : connections_)
        close(connection);
    connections_.clear();
}
