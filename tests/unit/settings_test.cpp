#include "control/settings.h"

#include "support/recording_fixture.h"

#include <thread>

using namespace quinmark;

namespace {

class SettingsTest : public RecordingTest
{
};

TEST_F(SettingsTest, AreEmptyOnANewThread)
{
    const Settings& fresh = settings();
    EXPECT_EQ(fresh.iLogLevel, 0);
    EXPECT_EQ(fresh.sLogFile, L"");
    EXPECT_EQ(fresh.iReplicationUniqueId, OFFICES);
    EXPECT_EQ(fresh.sLocalConnection, L"");
    EXPECT_EQ(fresh.sSourceDB, L"");
    EXPECT_EQ(fresh.sSourceDSN, L"");
    EXPECT_EQ(fresh.sSourcePswd, L"");
    EXPECT_EQ(fresh.sDestinationDB, L"");
    EXPECT_EQ(fresh.sDestinationDSN, L"");
    EXPECT_EQ(fresh.sDestinationPswd, L"");
}

TEST_F(SettingsTest, AreOneSetPerThread)
{
    settings().sLogFile = L"mine";
    const Settings* mine = &settings();
    EXPECT_EQ(&settings(), mine);
    const Settings* other = nullptr;
    std::wstring seen;
    std::thread([&] {
        other = &settings();
        seen = settings().sLogFile;
        settings().sLogFile = L"theirs";
        detachThreadSettings();
    }).join();
    EXPECT_NE(other, mine);
    EXPECT_EQ(seen, L"");
    EXPECT_EQ(settings().sLogFile, L"mine");
}

TEST_F(SettingsTest, ConnectionsAreNotSharedBetweenThreads)
{
    connectedSettings();
    bool otherHasConnection = true;
    std::thread([&] {
        otherHasConnection = static_cast<bool>(settings().localConnection()->getConn());
        detachThreadSettings();
    }).join();
    EXPECT_FALSE(otherHasConnection);
    EXPECT_TRUE(settings().localConnection()->getConn());
}

TEST_F(SettingsTest, HoldersAreMadeOnDemandAndKept)
{
    const std::shared_ptr<clsConn> local = settings().localConnection();
    ASSERT_TRUE(local);
    EXPECT_EQ(settings().localConnection(), local);
    EXPECT_NE(settings().remoteConnection(), local);
    EXPECT_FALSE(local->getConn());
}

TEST_F(SettingsTest, ReleasedHolderIsReplacedByAnEmptyOne)
{
    connectedSettings();
    settings().releaseRemoteConnection();
    EXPECT_FALSE(settings().remoteConnection()->getConn());
    EXPECT_TRUE(settings().localConnection()->getConn());
    EXPECT_EQ(ado().liveObjects(), 1);
}

TEST_F(SettingsTest, StatementUnderWayKeepsItsHolder)
{
    connectedSettings();
    const std::shared_ptr<clsConn> underWay = settings().localConnection();
    settings().releaseLocalConnection();
    underWay->execute(L"update", false);
    EXPECT_EQ(ado().statements().size(), 1U);
}

TEST_F(SettingsTest, EndOfAThreadMakesNoCallIntoItsConnections)
{
    connectedSettings();
    const std::vector<IDispatch*> left{settings().localConnection()->getConn().object().get(),
                                       settings().remoteConnection()->getConn().object().get()};
    detachThreadSettings();
    EXPECT_EQ(ado().callsAndReads(), std::vector<std::wstring>());
    EXPECT_EQ(ado().liveObjects(), 2);
    EXPECT_EQ(settings().sLocalConnection, L"");
    for (IDispatch* connection : left)
        connection->Release();
    EXPECT_EQ(ado().liveObjects(), 0);
}

TEST_F(SettingsTest, LocalIsSourceOnlyForTheRoleSource)
{
    settings().sLocalConnection = L"sOuRcE";
    EXPECT_TRUE(settings().localIsSource());
    settings().sLocalConnection = L"Destination";
    EXPECT_FALSE(settings().localIsSource());
    settings().sLocalConnection = L"";
    EXPECT_FALSE(settings().localIsSource());
}

} // namespace
