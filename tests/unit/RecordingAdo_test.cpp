#include "support/RecordingAdo.h"

#include "ado/Command.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

// Mistakes that no other test would notice: the others pass when the recording ADO accepts too much.

namespace {

class RecordingAdoTest : public ::testing::Test
{
protected:
    static ado::Connection opened()
    {
        ado::Connection connection = ado::Connection::create();
        connection.open(L"DSN=office;UID=somebody;PWD=secret");
        return connection;
    }

    static ado::Recordset queried(const ado::Connection& connection)
    {
        ado::Command command(com::Dispatch::create(ado::Command::kClass));
        command.setActiveConnection(connection);
        command.setCommandText(L"select");
        return command.execute();
    }

    RecordingAdo ado_;
};

TEST_F(RecordingAdoTest, ReadsAndFailedCallsAreCounted)
{
    ado::Connection connection = opened();
    ado_.forget();
    connection.state();
    ado_.failMember(L"Connection.Close", {E_FAIL, L"Refused"});
    raised([&] { connection.close(); });
    EXPECT_EQ(ado_.callsAndReads(),
              (std::vector<std::wstring>{L"Connection(office).State", L"Connection(office).Close()"}));
    EXPECT_EQ(ado_.callCount(), 2U);
}

TEST_F(RecordingAdoTest, ObjectsLiveUntilTheirRelease)
{
    {
        const ado::Connection connection = opened();
        const ado::Recordset rows = queried(connection);
        EXPECT_EQ(ado_.liveObjects(), 2);
    }
    EXPECT_EQ(ado_.liveObjects(), 0);
}

TEST_F(RecordingAdoTest, ClosedObjectsRefuse)
{
    ado::Connection connection = opened();
    EXPECT_EQ(raised([&] { connection.open(L"DSN=office"); }).number, 3705);
    ado::Recordset rows = queried(connection);
    rows.close();
    EXPECT_EQ(raised([&] { rows.close(); }).number, 3704);
    EXPECT_EQ(raised([&] { rows.eof(); }).number, 3704);
    connection.close();
    EXPECT_EQ(raised([&] { connection.close(); }).number, 3704);
    EXPECT_EQ(raised([&] { connection.beginTrans(); }).number, 3704);
    EXPECT_EQ(raised([&] { queried(connection); }).number, 3709);
}

TEST_F(RecordingAdoTest, RowsEnd)
{
    ado_.answer(L"select", adoTexts(L"id", {L"a"}));
    const ado::Connection connection = opened();
    ado::Recordset rows = queried(connection);
    EXPECT_EQ(raised([&] { rows.value(L"other"); }).number, 3265);
    rows.moveNext();
    EXPECT_EQ(raised([&] { rows.moveNext(); }).number, 3021);
    EXPECT_EQ(raised([&] { rows.value(L"id"); }).number, 3021);
}

TEST_F(RecordingAdoTest, MembersAreUsedInTheirOwnWayOnly)
{
    const ado::Connection connection = opened();
    const com::Dispatch& object = connection.object();
    EXPECT_EQ(raised([&] { object.call(L"State"); }).number, 438);
    EXPECT_EQ(raised([&] { object.put(L"State", 0L); }).number, 438);
    EXPECT_EQ(raised([&] { object.property(L"Close"); }).number, 438);
    EXPECT_EQ(raised([&] { object.call(L"Save"); }).number, 438);
}

} // namespace
