#include "control/pairing.h"

#include "control/settings.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

using com::Error;

class PairingTest : public RecordingTest
{
protected:
    void connectAs(const std::wstring& role)
    {
        releaseConnections();
        connectedSettings({.site = 1, .role = role});
    }

    static void expectErrors(long number, const std::wstring& source, const std::wstring& destination)
    {
        EXPECT_EQ(raised([] { Utils::getConnSource(); }), (Error{number, L"Utils.getConnSource", source}));
        EXPECT_EQ(raised([] { Utils::getConnDest(); }), (Error{number, L"Utils.getConnDest", destination}));
    }
};

TEST_F(PairingTest, RoleAloneSaysWhichSideTheLocalConnectionIs)
{
    connectAs(L"SOURCE");
    const auto local = settings().localConnection();
    const auto remote = settings().remoteConnection();
    for (const wchar_t* role : {L"SOURCE", L"Source"}) {
        settings().sLocalConnection = role;
        EXPECT_EQ(Utils::getConnSource(), local);
        EXPECT_EQ(Utils::getConnDest(), remote);
    }
    for (const wchar_t* role : {L"DESTINATION", L"", L"SOURCE "}) {
        settings().sLocalConnection = role;
        EXPECT_EQ(Utils::getConnSource(), remote);
        EXPECT_EQ(Utils::getConnDest(), local);
    }
    local->getConn().close();
    EXPECT_EQ(Utils::getConnLocal(), local) << "open or not";
    EXPECT_EQ(Utils::getConnSource(), remote) << "the other connection does not matter";
}

TEST_F(PairingTest, ConnectionThatIsClosedOrExecutesIsNotAvailable)
{
    for (const long state : {0, 5}) {
        ado().setState(L"source", state);
        ado().setState(L"destination", state);
        connectAs(L"SOURCE");
        expectErrors(kOwnErrorRaised, L"Local database not available as Source",
                     L"Remote database not available as Destination");
        connectAs(L"DESTINATION");
        expectErrors(kOwnErrorRaised, L"Remote database not available as Source",
                     L"Local database not available as Destination");
    }
}

TEST_F(PairingTest, ConnectionNeverOpenedRaises91)
{
    const std::wstring text = L"Object variable or With block variable not set";
    expectErrors(91, text, text);
}

TEST_F(PairingTest, FailureToReadTheStateIsRaisedUnderTheRoutinesName)
{
    connectAs(L"SOURCE");
    ado().failMember(L"Connection.State", connectionLost());
    ado().failMember(L"Connection.State", connectionLost(), 2);
    expectErrors(E_FAIL, L"Connection lost", L"Connection lost");
}

} // namespace
