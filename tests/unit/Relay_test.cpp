#include "support/Relay.h"

#include <gtest/gtest-spi.h>
#include <optional>

namespace {

/// One end of a connection over TCP.
class Peer
{
public:
    explicit Peer(SOCKET socket) : socket_(socket) {}
    ~Peer() { closesocket(socket_); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void send(const std::string& data) const { ::send(socket_, data.data(), static_cast<int>(data.size()), 0); }

    /// What comes next, "" when the connection has ended.
    std::string receive() const
    {
        char data[100];
        const int count = recv(socket_, data, sizeof data, 0);
        return {data, static_cast<size_t>(std::max(count, 0))};
    }

private:
    SOCKET socket_;
};

/// A client that the relay has connected to a server, which is the test itself.
class RelayTest : public testing::Test
{
protected:
    RelayTest()
    {
        WSADATA data{};
        WSAStartup(MAKEWORD(2, 2), &data);
        sockaddr_in here = localAddress(0);
        int size = sizeof here;
        listener_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        bind(listener_, reinterpret_cast<sockaddr*>(&here), size);
        listen(listener_, 1);
        getsockname(listener_, reinterpret_cast<sockaddr*>(&here), &size);
        relay_.emplace(L"127.0.0.1:" + std::to_wstring(ntohs(here.sin_port)));
        connectClient();
    }
    ~RelayTest() override
    {
        closesocket(listener_);
        WSACleanup();
    }

    void connectClient()
    {
        const SOCKET client = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        sockaddr_in address = localAddress(relay_->port());
        connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address);
        client_.emplace(client);
        server_.emplace(accept(listener_, nullptr, nullptr));
    }

    void expectPassing()
    {
        client_->send("question");
        EXPECT_EQ(server_->receive(), "question");
        server_->send("answer");
        EXPECT_EQ(client_->receive(), "answer");
    }

    void expectEnded()
    {
        EXPECT_EQ(client_->receive(), "");
        EXPECT_EQ(server_->receive(), "");
    }

    std::optional<Relay> relay_;
    std::optional<Peer> client_;
    std::optional<Peer> server_;

private:
    static sockaddr_in localAddress(unsigned short port)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        return address;
    }

    SOCKET listener_ = INVALID_SOCKET;
};

TEST_F(RelayTest, CutEndsConnectionsAndServesNewOnes)
{
    expectPassing();
    relay_->cut();
    expectEnded();
    connectClient();
    expectPassing();
}

TEST_F(RelayTest, EndOfTheServerIsPassedOn)
{
    server_.reset();
    EXPECT_EQ(client_->receive(), "");
}

TEST_F(RelayTest, TextCutsOnceInEitherEncodingAndInPieces)
{
    const std::string pieces[][2] = {{"Insert into u", "sers "},
                                     {std::string("I\0n\0s\0e", 7), std::string("\0r\0t\0", 5)}};
    for (const auto& [first, second] : pieces) {
        relay_->cutAt(first.starts_with("In") ? L"into users" : L"Insert");
        client_->send(first);
        EXPECT_EQ(server_->receive(), first);
        client_->send(second);
        expectEnded();
        connectClient();
        expectPassing();
    }
}

TEST_F(RelayTest, TextOfFormerStatementsDoesNotCut)
{
    expectPassing();
    relay_->cutAt(L"question");
    client_->send("nothing");
    EXPECT_EQ(server_->receive(), "nothing");
    client_->send("question");
    expectEnded();
}

TEST_F(RelayTest, TextThatDoesNotComeFailsTheTest)
{
    relay_->cutAt(L"select");
    expectPassing();
    EXPECT_NONFATAL_FAILURE(relay_.reset(), "No statement came with the text that cuts.");
}

TEST(Relay, AddressWithoutHostOrPortIsRefused)
{
    EXPECT_THROW(Relay(L"127.0.0.1"), std::runtime_error);
}

} // namespace
