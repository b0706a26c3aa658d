#include "control/settings.h"
#include "support/FactoryFixture.h"

using namespace quinmark;

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;

constexpr ULONGLONG kPauseAtLeast = 4950;
constexpr long kConnecting = 2;
constexpr long kOpenAndExecuting = 5;

Lines opening(const std::wstring& dsn)
{
    return {L"create Connection", L"Connection.CursorLocation = 2", L"Connection.ConnectionTimeout = 20",
            L"Connection.Open(\"DSN=" + dsn + L";UID=quinmarkapp_user;PWD=" + dsn + L"Password\", \"\", \"\", -1)"};
}

/// In a holder that lets an earlier connection of that name go.
Lines reopening(const std::wstring& dsn)
{
    Lines lines = opening(dsn);
    lines.insert(lines.begin() + 1, L"release Connection(" + dsn + L")");
    return lines;
}

Lines bothClosed()
{
    return {L"Connection(source).Close()", L"release Connection(source)", L"Connection(destination).Close()",
            L"release Connection(destination)"};
}

Lines joined(Lines first, const Lines& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST_F(FactoryTest, LocalSourceIsOpenedFirst)
{
    init(L"source");
    EXPECT_EQ(ado().calls(), joined(opening(L"source"), opening(L"destination")));
    EXPECT_EQ(settings().localConnection()->getConn().defaultDatabase(), L"source");
    EXPECT_EQ(settings().remoteConnection()->getConn().defaultDatabase(), L"destination");
}

TEST_F(FactoryTest, LocalDestinationIsOpenedFirst)
{
    init(L"Destination");
    EXPECT_EQ(ado().calls(), joined(opening(L"destination"), opening(L"source")));
    EXPECT_EQ(settings().localConnection()->getConn().defaultDatabase(), L"destination");
    EXPECT_EQ(settings().remoteConnection()->getConn().defaultDatabase(), L"source");
}

TEST_F(FactoryTest, RefusedLocalConnectionIsInitsFailure)
{
    ado().failMember(L"Connection.Open", {static_cast<HRESULT>(0x80040E4D), L"Login failed"});
    EXPECT_EQ(raised([&] { init(L"SOURCE"); }),
              (Error{static_cast<long>(0x80040E4D), L"Factory.init", L"Login failed"}));
    EXPECT_FALSE(settings().remoteConnection()->getConn());
}

TEST_F(FactoryTest, RefusedRemoteConnectionLeavesTheLocalOneOpen)
{
    ado().failMember(L"Connection.Open", {static_cast<HRESULT>(0x80040E4D), L"Login failed"}, 2);
    EXPECT_EQ(raised([&] { init(L"SOURCE"); }),
              (Error{static_cast<long>(0x80040E4D), L"Factory.init", L"Login failed"}));
    EXPECT_EQ(settings().localConnection()->getConn().state(), 1);
    EXPECT_EQ(settings().remoteConnection()->getConn().state(), 0);
}

TEST_F(FactoryTest, ConnectingByItselfNamesItself)
{
    connectedSettings();
    ado().failMember(L"Connection.State", connectionLost());
    EXPECT_EQ(raised([&] { factory_.connectDatabases(); }),
              (Error{E_FAIL, L"Factory.connectDatabases", L"Connection lost"}));
}

TEST_F(FactoryTest, SecondInitClosesBothAndPausesAfterTheRemoteOne)
{
    init(L"SOURCE");
    ado().forget();
    init(L"SOURCE");
    EXPECT_EQ(ado().calls(), joined({L"Connection(source).Close()", L"Connection(destination).Close()"},
                                    joined(reopening(L"source"), reopening(L"destination"))));
    EXPECT_EQ(ado().liveObjects(), 2);
    const std::vector<ULONGLONG> times = ado().callTimes();
    EXPECT_LT(times[1] - times[0], 4000U);
    EXPECT_GE(times[2] - times[1], kPauseAtLeast);
    EXPECT_LT(times.back() - times[2], 4000U);
}

TEST_F(FactoryTest, SecondInitPausesWhenOnlyTheRemoteOneIsOpen)
{
    init(L"SOURCE");
    settings().localConnection()->getConn().close();
    ado().forget();
    init(L"SOURCE");
    EXPECT_EQ(ado().calls()[0], L"Connection(destination).Close()");
    EXPECT_EQ(ado().calls()[1], L"create Connection");
    EXPECT_GE(ado().callTimes()[1] - ado().callTimes()[0], kPauseAtLeast);
}

TEST_F(FactoryTest, SecondInitClosesNothingThatIsMoreOrLessThanOpen)
{
    init(L"SOURCE");
    for (const long state : {kConnecting, kOpenAndExecuting}) {
        ado().setState(L"source", state);
        ado().setState(L"destination", state);
        ado().forget();
        init(L"SOURCE");
        EXPECT_EQ(ado().calls(), joined(reopening(L"source"), reopening(L"destination"))) << state;
    }
}

TEST_F(FactoryTest, SecondInitDoesNotPauseWhenOnlyTheLocalOneIsOpen)
{
    init(L"SOURCE");
    settings().remoteConnection()->getConn().close();
    ado().forget();
    const ULONGLONG begin = GetTickCount64();
    init(L"SOURCE");
    EXPECT_LT(GetTickCount64() - begin, 4000U);
    EXPECT_EQ(ado().calls()[0], L"Connection(source).Close()");
    EXPECT_EQ(ado().calls()[1], L"create Connection");
}

TEST_F(FactoryTest, CloseConnectionBeforeInitDoesNothing)
{
    factory_.closeConnection();
    factory_.disconnect();
    EXPECT_EQ(ado().callCount(), 0U);
}

TEST_F(FactoryTest, DisconnectClosesAndReleasesBothWithoutAPause)
{
    connectedSettings();
    const ULONGLONG begin = GetTickCount64();
    factory_.disconnect();
    EXPECT_LT(GetTickCount64() - begin, 4000U);
    EXPECT_EQ(ado().calls(), bothClosed());
    EXPECT_FALSE(settings().localConnection()->getConn());
    EXPECT_FALSE(settings().remoteConnection()->getConn());
}

TEST_F(FactoryTest, HolderThatIsClosedAlreadyIsKept)
{
    connectedSettings();
    settings().localConnection()->getConn().close();
    factory_.closeConnection();
    EXPECT_TRUE(settings().localConnection()->getConn());
    EXPECT_FALSE(settings().remoteConnection()->getConn());
}

TEST_F(FactoryTest, DisconnectClosesWhateverIsNotClosed)
{
    for (const long state : {kConnecting, kOpenAndExecuting}) {
        connectedSettings();
        ado().setState(L"source", state);
        ado().setState(L"destination", state);
        factory_.closeConnection();
        EXPECT_EQ(ado().calls(), bothClosed()) << state;
    }
}

TEST_F(FactoryTest, FailedCloseNamesTheRoutineWithoutItsDot)
{
    connectedSettings();
    ado().failMember(L"Connection.Close", connectionLost());
    EXPECT_EQ(raised([&] { factory_.closeConnection(); }),
              (Error{E_FAIL, L"FactorycloseConnection", L"Connection lost"}));
    EXPECT_TRUE(settings().localConnection()->getConn());
    EXPECT_EQ(settings().remoteConnection()->getConn().state(), 1);
    ado().failMember(L"Connection.Close", connectionLost(), 2);
    EXPECT_EQ(raised([&] { factory_.disconnect(); }), (Error{E_FAIL, L"Factory.disconnect", L"Connection lost"}));
    EXPECT_FALSE(settings().localConnection()->getConn());
    EXPECT_TRUE(settings().remoteConnection()->getConn());
}

TEST_F(FactoryTest, ReconnectsAfterDisconnectWithoutAPause)
{
    connectedSettings();
    factory_.disconnect();
    ado().forget();
    const ULONGLONG begin = GetTickCount64();
    init(L"SOURCE");
    EXPECT_LT(GetTickCount64() - begin, 4000U);
    EXPECT_EQ(ado().calls(), joined(opening(L"source"), opening(L"destination")));
}

} // namespace
