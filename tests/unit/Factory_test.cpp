#include "control/Factory.h"

#include "control/FactoryFace.h"
#include "control/settings.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;

class FactoryTest : public RecordingTest
{
protected:
    void init(const std::wstring& role, long site = OFFICES)
    {
        factory_.init(site, role, L"office.", L"source", L"sourcePassword", L"laptop.", L"destination",
                      L"destinationPassword", 3, logFile());
    }

    static Lines opening(const std::wstring& dsn)
    {
        return {L"create Connection", L"Connection.CursorLocation = 2", L"Connection.ConnectionTimeout = 20",
                L"Connection.Open(\"DSN=" + dsn + L";UID=quinmarkapp_user;PWD=" + dsn + L"Password\", \"\", \"\", -1)"};
    }

    static Lines joined(Lines first, const Lines& second)
    {
        first.insert(first.end(), second.begin(), second.end());
        return first;
    }

    Factory factory_;
};

TEST_F(FactoryTest, InitStoresEverythingAsGiven)
{
    init(L"Source", LAPTOP);
    EXPECT_EQ(settings().iLogLevel, 3);
    EXPECT_EQ(settings().sLogFile, logFile());
    EXPECT_EQ(settings().iReplicationUniqueId, LAPTOP);
    EXPECT_EQ(settings().sLocalConnection, L"Source");
    EXPECT_EQ(settings().sSourceDB, L"office.");
    EXPECT_EQ(settings().sSourceDSN, L"source");
    EXPECT_EQ(settings().sSourcePswd, L"sourcePassword");
    EXPECT_EQ(settings().sDestinationDB, L"laptop.");
    EXPECT_EQ(settings().sDestinationDSN, L"destination");
    EXPECT_EQ(settings().sDestinationPswd, L"destinationPassword");
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

TEST_F(FactoryTest, UnknownRoleStopsBeforeNamesAreStored)
{
    EXPECT_EQ(raised([&] { init(L"LOCAL", LAPTOP); }),
              (Error{-2147220504, L"Factory.init", L"Local Connection not set to SOURCE or DESTINATION"}));
    EXPECT_EQ(settings().iLogLevel, 3);
    EXPECT_EQ(settings().sLogFile, logFile());
    EXPECT_EQ(settings().iReplicationUniqueId, LAPTOP);
    EXPECT_EQ(settings().sLocalConnection, L"LOCAL");
    EXPECT_EQ(settings().sSourceDB + settings().sSourceDSN + settings().sSourcePswd, L"");
    EXPECT_EQ(settings().sDestinationDB + settings().sDestinationDSN + settings().sDestinationPswd, L"");
    EXPECT_EQ(ado().callCount(), 0U);
}

TEST_F(FactoryTest, UnknownRoleLeavesLiveConnectionsUntouched)
{
    connectedSettings();
    EXPECT_EQ(raised([&] { init(L""); }).number, kOwnErrorRaised);
    EXPECT_EQ(ado().callCount(), 0U);
}

TEST_F(FactoryTest, SiteBeyond16BitsOverflowsAfterTheLogIsSet)
{
    EXPECT_EQ(raised([&] { init(L"SOURCE", 32768); }), (Error{6, L"Factory.init", L"Overflow"}));
    EXPECT_EQ(settings().iLogLevel, 3);
    EXPECT_EQ(settings().sLogFile, logFile());
    EXPECT_EQ(settings().sLocalConnection, L"");
    EXPECT_EQ(ado().callCount(), 0U);
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
    const ULONGLONG begin = GetTickCount64();
    init(L"SOURCE");
    const ULONGLONG elapsed = GetTickCount64() - begin;
    EXPECT_GE(elapsed, 4950U);
    EXPECT_LT(elapsed, 9000U);
    Lines expected{L"Connection(source).Close()", L"Connection(destination).Close()"};
    Lines local = opening(L"source");
    local.insert(local.begin() + 1, L"release Connection(source)");
    Lines remote = opening(L"destination");
    remote.insert(remote.begin() + 1, L"release Connection(destination)");
    EXPECT_EQ(ado().calls(), joined(expected, joined(local, remote)));
    EXPECT_EQ(ado().liveObjects(), 2);
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
    EXPECT_EQ(ado().calls(), (Lines{L"Connection(source).Close()", L"release Connection(source)",
                                    L"Connection(destination).Close()", L"release Connection(destination)"}));
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

TEST_F(FactoryTest, FailedCloseNamesTheRoutineWithoutItsDot)
{
    connectedSettings();
    ado().failMember(L"Connection.Close", connectionLost());
    EXPECT_EQ(raised([&] { factory_.closeConnection(); }),
              (Error{E_FAIL, L"FactorycloseConnection", L"Connection lost"}));
    EXPECT_TRUE(settings().localConnection()->getConn());
    ado().failMember(L"Connection.Close", connectionLost());
    EXPECT_EQ(raised([&] { factory_.disconnect(); }), (Error{E_FAIL, L"Factory.disconnect", L"Connection lost"}));
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

TEST_F(FactoryTest, LogLevelIsConvertedTo16Bits)
{
    factory_.setLogLevel(L"4");
    EXPECT_EQ(settings().iLogLevel, 4);
    factory_.setLogLevel(2.5);
    EXPECT_EQ(settings().iLogLevel, 2);
}

TEST_F(FactoryTest, LogLevelThatCannotBeConvertedRaisesAsItIs)
{
    settings().iLogLevel = 3;
    EXPECT_EQ(raised([&] { factory_.setLogLevel(32768L); }), (Error{6, com::kComponentName, L"Overflow"}));
    EXPECT_EQ(raised([&] { factory_.setLogLevel(L"high"); }), (Error{13, com::kComponentName, L"Type mismatch"}));
    EXPECT_EQ(raised([&] { factory_.setLogLevel(adoNull()); }),
              (Error{94, com::kComponentName, L"Invalid use of Null"}));
    EXPECT_EQ(settings().iLogLevel, 3);
}

TEST_F(FactoryTest, VersionHasMajorMinorAndRevision)
{
    EXPECT_EQ(factory_.Version(), L"3.46.0");
}

TEST_F(FactoryTest, ErrorMessageIsEmptyAtFirst)
{
    EXPECT_EQ(factory_.sErrorMessage(), L"");
}

TEST_F(FactoryTest, ObjectsOfAThreadShareItsSettings)
{
    Factory first;
    first.setLogLevel(2L);
    Factory second;
    second.setLogLevel(4L);
    EXPECT_EQ(settings().iLogLevel, 4);
}

TEST_F(FactoryTest, RunObjectIsNewAndEmptyAndNeedsNoState)
{
    const auto face = com::makeObject<FactoryFace>();
    Microsoft::WRL::ComPtr<_clsReplicate> first;
    Microsoft::WRL::ComPtr<_clsReplicate> second;
    ASSERT_EQ(face->createReplication(first.GetAddressOf()), S_OK);
    ASSERT_EQ(face->createReplication(second.GetAddressOf()), S_OK);
    EXPECT_NE(first.Get(), second.Get());
    VARIANT_BOOL error = VARIANT_TRUE;
    VARIANT_BOOL ready = VARIANT_TRUE;
    DATE last = 1;
    DATE next = 1;
    EXPECT_EQ(first->get_bError(&error), S_OK);
    EXPECT_EQ(first->get_bReady(&ready), S_OK);
    EXPECT_EQ(first->get_dLastReplicate(&last), S_OK);
    EXPECT_EQ(first->get_dNextReplicate(&next), S_OK);
    EXPECT_EQ(error, VARIANT_FALSE);
    EXPECT_EQ(ready, VARIANT_FALSE);
    EXPECT_EQ(last, 0);
    EXPECT_EQ(next, 0);
    EXPECT_EQ(ado().callCount(), 0U);
}

TEST_F(FactoryTest, TableObjectIsConfiguredByItsInit)
{
    EXPECT_EQ(factory_.createReplicationTable(ONE_WAY, L"patient", L"", L"", UNKNOWN)->sTable(), L"patient");
    EXPECT_EQ(raised([&] { factory_.createReplicationTable(ONE_WAY, L"patient", L"child", L"", UNKNOWN); }),
              (Error{kOwnErrorRaised, L"clsReplicateTable.init",
                     L"Dependent table only allowed on ONE_WAY_ALLOW_DELETES (patient,)"}));
}

} // namespace
