#pragma once

#include "review/HttpRequest.h"

#include <winsock2.h>

#include <chrono>
#include <functional>
#include <list>
#include <string>

struct HttpResponse
{
    int status = 200;
    /// Header lines beside the length and the end of the connection, each with its CR LF.
    std::string headers;
    std::string body;
};

/// A small HTTP/1.1 server for one person at this machine: 127.0.0.1 only, one thread, one request per connection.
/// Browsers open connections ahead of their use, so idle ones wait beside the one that speaks.
class HttpServer
{
public:
    using Handler = std::function<HttpResponse(const HttpRequest&)>;

    /// Listens at a free port. Raises HostError(kFailed).
    HttpServer();
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    unsigned short port() const { return port_; }

    /// Answers requests until `stopped` says so, which it is asked several times a second. `handler` may raise
    /// HttpError.
    void serve(const Handler& handler, const std::function<bool()>& stopped);

private:
    struct Connection
    {
        SOCKET socket;
        std::chrono::steady_clock::time_point begin;
        std::string received = {};
    };

    void accept();
    bool isFinished(Connection& connection, const Handler& handler);

    SOCKET listener_ = INVALID_SOCKET;
    unsigned short port_ = 0;
    std::list<Connection> connections_;
};
