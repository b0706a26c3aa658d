#include "review/HttpServer.h"

#include "HostError.h"

#include <fmt/format.h>

namespace {

constexpr size_t kMaxConnections = 32; // well below what select takes at once
constexpr std::chrono::seconds kPatience{30};
constexpr long kPauseMicroseconds = 200'000;
constexpr DWORD kSendMilliseconds = 5'000;
constexpr DWORD kDrainMilliseconds = 300;

const char* reason(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 303:
        return "See Other";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 409:
        return "Conflict";
    case 413:
        return "Content Too Large";
    case 431:
        return "Request Header Fields Too Large";
    case 500:
        return "Internal Server Error";
    default:
        return "Bad Request";
    }
}

HttpResponse errorResponse(const HttpError& error)
{
    return {error.status(),
            "Content-Type: text/plain; charset=utf-8\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n",
            std::string(error.what()) + "\n"};
}

void sendAll(SOCKET socket, std::string_view text)
{
    while (!text.empty()) {
        const int sent = ::send(socket, text.data(), static_cast<int>(text.size()), 0);
        if (sent <= 0)
            return; // the browser went away; there is nobody to tell
        text.remove_prefix(static_cast<size_t>(sent));
    }
}

void setTimeout(SOCKET socket, int option, DWORD milliseconds)
{
    setsockopt(socket, SOL_SOCKET, option, reinterpret_cast<const char*>(&milliseconds), sizeof milliseconds);
}

/// Closing while something is unread resets the connection, and the other side might lose the answer.
void drain(SOCKET socket)
{
    shutdown(socket, SD_SEND);
    setTimeout(socket, SO_RCVTIMEO, kDrainMilliseconds);
    char buffer[4096];
    for (size_t total = 0; total < kMaxBodyBytes;) {
        const int count = recv(socket, buffer, sizeof buffer, 0);
        if (count <= 0)
            return;
        total += static_cast<size_t>(count);
    }
}

void answer(SOCKET socket, const HttpResponse& response)
{
    setTimeout(socket, SO_SNDTIMEO, kSendMilliseconds);
    sendAll(socket, fmt::format("HTTP/1.1 {} {}\r\n{}Content-Length: {}\r\nConnection: close\r\n\r\n", response.status,
                                reason(response.status), response.headers, response.body.size()));
    sendAll(socket, response.body);
    drain(socket);
}

SOCKET listenOnLoopback(sockaddr_in& address)
{
    const SOCKET listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int length = sizeof address;
    auto* general = reinterpret_cast<sockaddr*>(&address);
    if (listener == INVALID_SOCKET || bind(listener, general, length) != 0 || listen(listener, SOMAXCONN) != 0 ||
        getsockname(listener, general, &length) != 0)
        throw HostError(kFailed, fmt::format("no port of 127.0.0.1 can be listened at ({})", WSAGetLastError()));
    return listener;
}

} // namespace

HttpServer::HttpServer()
{
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0)
        throw HostError(kFailed, "the platform's network does not start");
    sockaddr_in address = {};
    listener_ = listenOnLoopback(address);
    port_ = ntohs(address.sin_port);
}

HttpServer::~HttpServer()
{
    for (const Connection& connection : connections_)
        closesocket(connection.socket);
    closesocket(listener_);
    WSACleanup();
}

void HttpServer::serve(const Handler& handler, const std::function<bool()>& stopped)
{
    while (!stopped()) {
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(listener_, &readable);
        for (const Connection& connection : connections_)
            FD_SET(connection.socket, &readable);
        timeval pause = {0, kPauseMicroseconds};
        if (select(0, &readable, nullptr, nullptr, &pause) == SOCKET_ERROR)
            throw HostError(kFailed, fmt::format("the network failed ({})", WSAGetLastError()));
        connections_.remove_if([&](Connection& connection) {
            const bool over = FD_ISSET(connection.socket, &readable)
                                  ? isFinished(connection, handler)
                                  : std::chrono::steady_clock::now() - connection.begin > kPatience;
            if (over)
                closesocket(connection.socket);
            return over;
        });
        if (FD_ISSET(listener_, &readable))
            accept();
    }
}

void HttpServer::accept()
{
    const SOCKET socket = ::accept(listener_, nullptr, nullptr);
    if (socket == INVALID_SOCKET)
        return;
    if (connections_.size() == kMaxConnections) {
        closesocket(connections_.front().socket);
        connections_.pop_front();
    }
    connections_.push_back({socket, std::chrono::steady_clock::now()});
}

bool HttpServer::isFinished(Connection& connection, const Handler& handler)
{
    char buffer[4096];
    const int count = recv(connection.socket, buffer, sizeof buffer, 0);
    if (count <= 0)
        return true;
    connection.received.append(buffer, static_cast<size_t>(count));
    try {
        const std::optional<HttpRequest> request = parseRequest(connection.received);
        if (!request)
            return false;
        answer(connection.socket, handler(*request));
    }
    catch (const HttpError& error) {
        answer(connection.socket, errorResponse(error));
    }
    return true;
}
