#include "control/Factory.h"

#include "control/FactoryFace.h"
#include "control/settings.h"
#include "support/ImportHook.h"
#include "support/LateCall.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;

Lines opening(const std::wstring& dsn)
{
    return {L"create Connection", L"Connection.CursorLocation = 2", L"Connection.ConnectionTimeout = 20",
            L"Connection.Open(\"DSN=" + dsn + L";UID=quinmarkapp_user;PWD=" + dsn + L"Password\", \"\", \"\", -1)"};
}

/// In a holder that releases an earlier connection of that name.
Lines reopening(const std::wstring& dsn)
{
    Lines lines = opening(dsn);
    lines.insert(lines.begin() + 1, L"release Connection(" + dsn + L")");
    return lines;
}

Lines joined(Lines first, const Lines& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// The entry object on recording connections "source" and "destination". Pauses are recorded instead of made.
class FactoryTest : public RecordingTest
{
protected:
    FactoryTest() { recorder_ = &ado(); }

    void init(const std::wstring& role, long site = OFFICES)
    {
        factory_.init(site, role, L"office.", L"source", L"sourcePassword", L"laptop.", L"destination",
                      L"destinationPassword", 3, logFile());
    }

    void setStates(long source, long destination)
    {
        ado().setState(L"source", source);
        ado().setState(L"destination", destination);
        ado().forget();
    }

    Factory factory_;
    const AdoFailure refused_{static_cast<HRESULT>(0x80040E4D), L"Login failed"};
    const Lines bothClosed_{L"Connection(source).Close()", L"release Connection(source)",
                            L"Connection(destination).Close()", L"release Connection(destination)"};

private:
    static void WINAPI recordPause(DWORD milliseconds)
    {
        recorder_->note(L"Sleep(" + std::to_wstring(milliseconds) + L")");
    }

    static inline RecordingAdo* recorder_ = nullptr;
    const ImportHook sleep_{"Sleep", reinterpret_cast<void*>(recordPause)};
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

TEST_F(FactoryTest, LogLevelIsConvertedTo16BitsOrLeft)
{
    factory_.setLogLevel(L"4");
    EXPECT_EQ(settings().iLogLevel, 4);
    factory_.setLogLevel(2.5);
    EXPECT_EQ(raised([&] { factory_.setLogLevel(32768L); }), (Error{6, L"QuinmarkRepDLL", L"Overflow"}));
    EXPECT_EQ(raised([&] { factory_.setLogLevel(adoNull()); }), (Error{94, L"QuinmarkRepDLL", L"Invalid use of Null"}));
    EXPECT_EQ(settings().iLogLevel, 2);
}

TEST_F(FactoryTest, VersionHasMajorMinorAndRevision)
{
    EXPECT_EQ(factory_.Version(), L"3.46.0");
}

TEST_F(FactoryTest, ErrorMessageIsLeftToTheChecks)
{
    EXPECT_EQ(factory_.sErrorMessage(), L"");
    connectedSettings();
    ado().failMember(L"Connection.State", {E_FAIL, L"State unknown"});
    EXPECT_FALSE(factory_.ensureReplication());
    ado().cut(L"source", connectionLost());
    EXPECT_EQ(raised([&] { factory_.setError(true, L"stopped by host"); }).description, L"Connection lost");
    EXPECT_EQ(raised([&] { init(L"LOCAL"); }).source, L"Factory.init");
    EXPECT_EQ(factory_.sErrorMessage(), L"State unknown");
}

TEST_F(FactoryTest, RunObjectIsNewAndEmptyAndNeedsNoConnection)
{
    const auto face = com::makeObject<FactoryFace>();
    const LateResult first = lateCall(face.Get(), L"createReplication");
    const LateResult second = lateCall(face.Get(), L"createReplication");
    EXPECT_NE(first.value.pdispVal, second.value.pdispVal);
    EXPECT_EQ(lateGet(first.value.pdispVal, L"bError").value, _variant_t(false));
    EXPECT_EQ(lateGet(first.value.pdispVal, L"bReady").value, _variant_t(false));
    EXPECT_EQ(lateGet(first.value.pdispVal, L"dLastReplicate").value, _variant_t(0.0, VT_DATE));
    EXPECT_EQ(lateGet(first.value.pdispVal, L"dNextReplicate").value, _variant_t(0.0, VT_DATE));
    EXPECT_EQ(ado().callCount(), 0U);
}

TEST_F(FactoryTest, TableObjectIsConfigured)
{
    EXPECT_EQ(factory_.createReplicationTable(ONE_WAY, L"patient", L"", L"", UNKNOWN)->sTable(), L"patient");
}

TEST_F(FactoryTest, LocalConnectionIsOpenedFirst)
{
    init(L"source");
    EXPECT_EQ(ado().calls(), joined(opening(L"source"), opening(L"destination")));
    EXPECT_EQ(settings().localConnection()->getConn().defaultDatabase(), L"source");
    EXPECT_EQ(settings().remoteConnection()->getConn().defaultDatabase(), L"destination");
    factory_.disconnect();
    ado().forget();
    init(L"Destination");
    EXPECT_EQ(ado().calls(), joined(opening(L"destination"), opening(L"source"))) << "and there is no pause";
    EXPECT_EQ(settings().localConnection()->getConn().defaultDatabase(), L"destination");
    EXPECT_EQ(settings().remoteConnection()->getConn().defaultDatabase(), L"source");
}

TEST_F(FactoryTest, RefusedLocalConnectionIsInitsFailure)
{
    ado().failMember(L"Connection.Open", refused_);
    EXPECT_EQ(raised([&] { init(L"SOURCE"); }), (Error{refused_.code, L"Factory.init", L"Login failed"}));
    EXPECT_FALSE(settings().remoteConnection()->getConn());
}

TEST_F(FactoryTest, RefusedRemoteConnectionLeavesTheLocalOneOpen)
{
    ado().failMember(L"Connection.Open", refused_, 2);
    EXPECT_EQ(raised([&] { init(L"SOURCE"); }), (Error{refused_.code, L"Factory.init", L"Login failed"}));
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

struct StatesAtInit
{
    long source;
    long destination;
    Lines closing;
};

TEST_F(FactoryTest, SecondInitClosesWhatIsJustOpenAndPausesAfterTheRemoteOne)
{
    connectedSettings();
    const StatesAtInit cases[] = {
        {1, 1, {L"Connection(source).Close()", L"Connection(destination).Close()", L"Sleep(5000)"}},
        {0, 1, {L"Connection(destination).Close()", L"Sleep(5000)"}},
        {1, 0, {L"Connection(source).Close()"}},
        {2, 2, {}}, // connecting
        {5, 5, {}}, // open and executing
    };
    for (const auto& [source, destination, closing] : cases) {
        setStates(source, destination);
        init(L"SOURCE");
        EXPECT_EQ(ado().calls(), joined(closing, joined(reopening(L"source"), reopening(L"destination"))))
            << source << " " << destination;
        EXPECT_EQ(ado().liveObjects(), 2);
    }
}

TEST_F(FactoryTest, CloseConnectionBeforeInitDoesNothing)
{
    factory_.closeConnection();
    factory_.disconnect();
    EXPECT_EQ(ado().callCount(), 0U);
}

TEST_F(FactoryTest, DisconnectClosesAndReleasesWhateverIsNotClosed)
{
    for (const long state : {1, 2, 5}) {
        connectedSettings();
        setStates(state, state);
        factory_.disconnect();
        EXPECT_EQ(ado().calls(), bothClosed_) << state;
        EXPECT_FALSE(settings().localConnection()->getConn());
        EXPECT_FALSE(settings().remoteConnection()->getConn());
    }
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
    EXPECT_EQ(settings().remoteConnection()->getConn().state(), 1);
    ado().failMember(L"Connection.Close", connectionLost(), 2);
    EXPECT_EQ(raised([&] { factory_.disconnect(); }), (Error{E_FAIL, L"Factory.disconnect", L"Connection lost"}));
    EXPECT_FALSE(settings().localConnection()->getConn());
    EXPECT_TRUE(settings().remoteConnection()->getConn());
}

} // namespace
