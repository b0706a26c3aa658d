#pragma once

#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>
#include <winsock2.h>

/// A TCP relay in front of the databases' server, for tests of a server that goes away. It serves a port of this
/// machine in a thread of its own.
class Relay
{
public:
    /// In front of the server at `address`, HOST:PORT. Throws std::runtime_error when it cannot listen.
    explicit Relay(const std::wstring& address);
    ~Relay();
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    unsigned short port() const;
    /// The data source `dsn` through this relay.
    std::wstring dataSource(const std::wstring& dsn) const;

    /// Ends all connections; new ones are served.
    void cut();
    /// Ends all connections when a client sends a statement with this text: the text does not pass completely. At the
    /// relay's end, a text that has not come fails the test.
    void cutAt(const std::wstring& text);

private:
    struct Connection
    {
        SOCKET client;
        SOCKET server;
        /// The end of what the client has sent.
        std::string sent = {};
    };

    void serve(const std::stop_token& end);
    void accept();
    void forward(fd_set& readable);
    bool hasCuttingText(Connection& connection, const std::string& data);
    static void close(const Connection& connection);
    void closeAll();

    sockaddr_in server_{};
    SOCKET listener_ = INVALID_SOCKET;
    std::mutex mutex_;
    std::vector<Connection> connections_;
    /// The text that cuts, as the servers' protocols write it; empty when none does.
    std::vector<std::string> cuttingForms_;
    std::jthread thread_;
};

/// The data source `dsn` at another port of this machine, without encryption.
std::wstring atPort(const std::wstring& dsn, unsigned short port);

/// A relay to the server at QUINMARK_SERVER_ADDRESS. Skips the test and returns null where that is not set.
std::unique_ptr<Relay> relayToServer();
