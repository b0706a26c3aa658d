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
    void connectedAs(const std::wstring& role, long site = 0)
    {
        ConnectOptions options;
        options.role = role;
        options.site = site;
        connectedSettings(options);
    }

    static void closeLocal() { settings().localConnection()->getConn().close(); }
    static void closeRemote() { settings().remoteConnection()->getConn().close(); }
    static Error sourceError()
    {
        return raised([] { Utils::getConnSource(); });
    }
    static Error destinationError()
    {
        return raised([] { Utils::getConnDest(); });
    }
};

TEST_F(PairingTest, LocalSourceMakesTheRemoteTheDestination)
{
    for (const wchar_t* role : {L"SOURCE", L"source", L"Source"}) {
        settings().sLocalConnection = role;
        settings().localConnection()->openConnection(L"a", L"");
        settings().remoteConnection()->openConnection(L"b", L"");
        EXPECT_EQ(Utils::getConnSource(), settings().localConnection());
        EXPECT_EQ(Utils::getConnDest(), settings().remoteConnection());
    }
}

TEST_F(PairingTest, AnyOtherRoleMakesTheLocalTheDestination)
{
    for (const wchar_t* role : {L"DESTINATION", L"Destination", L"", L"SOURCE "}) {
        settings().sLocalConnection = role;
        settings().localConnection()->openConnection(L"a", L"");
        settings().remoteConnection()->openConnection(L"b", L"");
        EXPECT_EQ(Utils::getConnSource(), settings().remoteConnection());
        EXPECT_EQ(Utils::getConnDest(), settings().localConnection());
    }
}

TEST_F(PairingTest, SiteDoesNotMatter)
{
    connectedAs(L"SOURCE", 1);
    EXPECT_EQ(Utils::getConnSource(), settings().localConnection());
    EXPECT_EQ(Utils::getConnDest(), settings().remoteConnection());
}

TEST_F(PairingTest, ClosedLocalConnectionIsNotAvailable)
{
    connectedAs(L"SOURCE");
    closeLocal();
    EXPECT_EQ(sourceError(), (Error{-2147220504, L"Utils.getConnSource", L"Local database not available as Source"}));
    EXPECT_EQ(Utils::getConnDest(), settings().remoteConnection());
}

TEST_F(PairingTest, ClosedLocalDestinationIsNotAvailable)
{
    connectedAs(L"DESTINATION");
    closeLocal();
    EXPECT_EQ(destinationError(),
              (Error{-2147220504, L"Utils.getConnDest", L"Local database not available as Destination"}));
    EXPECT_EQ(Utils::getConnSource(), settings().remoteConnection());
}

TEST_F(PairingTest, ClosedRemoteConnectionIsNotAvailable)
{
    connectedAs(L"SOURCE");
    closeRemote();
    EXPECT_EQ(destinationError(),
              (Error{-2147220504, L"Utils.getConnDest", L"Remote database not available as Destination"}));
}

TEST_F(PairingTest, ClosedRemoteSourceIsNotAvailable)
{
    connectedAs(L"DESTINATION");
    closeRemote();
    EXPECT_EQ(sourceError(), (Error{-2147220504, L"Utils.getConnSource", L"Remote database not available as Source"}));
}

TEST_F(PairingTest, ConnectionThatExecutesIsNotAvailable)
{
    connectedAs(L"SOURCE");
    ado().setState(L"source", 5);
    ado().setState(L"destination", 5);
    EXPECT_EQ(sourceError().description, L"Local database not available as Source");
    EXPECT_EQ(destinationError().description, L"Remote database not available as Destination");
}

TEST_F(PairingTest, ConnectionNeverOpenedRaises91)
{
    const std::wstring text = L"Object variable or With block variable not set";
    EXPECT_EQ(sourceError(), (Error{91, L"Utils.getConnSource", text}));
    EXPECT_EQ(destinationError(), (Error{91, L"Utils.getConnDest", text}));
}

TEST_F(PairingTest, FailureToReadTheStateIsRaisedUnderTheRoutinesName)
{
    connectedAs(L"SOURCE");
    ado().failMember(L"Connection.State", connectionLost());
    EXPECT_EQ(sourceError(), (Error{E_FAIL, L"Utils.getConnSource", L"Connection lost"}));
    ado().failMember(L"Connection.State", connectionLost());
    EXPECT_EQ(destinationError(), (Error{E_FAIL, L"Utils.getConnDest", L"Connection lost"}));
}

} // namespace
