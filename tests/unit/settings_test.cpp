#include "control/settings.h"

#include "support/recording_fixture.h"

#include <thread>

using namespace quinmark;

namespace {

using SettingsTest = RecordingTest;

TEST_F(SettingsTest, AreEmptyOnANewThread)
{
    Settings& fresh = settings();
    EXPECT_EQ(fresh.iLogLevel, 0);
    EXPECT_EQ(fresh.iReplicationUniqueId, OFFICES);
    for (const std::wstring* text :
         {&fresh.sLogFile, &fresh.sLocalConnection, &fresh.sSourceDB, &fresh.sSourceDSN, &fresh.sSourcePswd,
          &fresh.sDestinationDB, &fresh.sDestinationDSN, &fresh.sDestinationPswd})
        EXPECT_EQ(*text, L"");
    EXPECT_FALSE(fresh.localConnection()->getConn());
    EXPECT_FALSE(fresh.remoteConnection()->getConn());
}

TEST_F(SettingsTest, AreOneSetPerThread)
{
    connectedSettings();
    settings().sLogFile = L"mine";
    std::wstring seen = L"nothing";
    bool connected = true;
    std::thread([&] {
        seen = settings().sLogFile;
        connected = static_cast<bool>(settings().localConnection()->getConn());
        settings().sLogFile = L"theirs";
        detachThreadSettings();
    }).join();
    EXPECT_EQ(seen, L"");
    EXPECT_FALSE(connected);
    EXPECT_EQ(settings().sLogFile, L"mine");
    EXPECT_TRUE(settings().localConnection()->getConn());
}

TEST_F(SettingsTest, HoldersAreKeptUntilTheyAreReleased)
{
    connectedSettings();
    const std::shared_ptr<clsConn> local = settings().localConnection();
    EXPECT_EQ(settings().localConnection(), local);
    EXPECT_NE(settings().remoteConnection(), local);
    settings().releaseRemoteConnection();
    EXPECT_FALSE(settings().remoteConnection()->getConn());
    EXPECT_EQ(settings().localConnection(), local);
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
    for (const auto& [role, isSource] : {std::pair(L"sOuRcE", true), {L"Destination", false}, {L"", false}}) {
        settings().sLocalConnection = role;
        EXPECT_EQ(settings().localIsSource(), isSource) << role;
    }
}

} // namespace
