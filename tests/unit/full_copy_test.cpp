#include "control/settings.h"
#include "support/ReplicationFixture.h"

using namespace quinmark;

namespace {

using com::Error;

/// One of the two full copies, of 12 rows.
struct CopyCase
{
    const char* name;
    long method;
    const wchar_t* sRoutine;
    const wchar_t* sTable;
    const wchar_t* sDelete;
    const wchar_t* sCopy;
    /// Where the copy runs at OFFICES.
    const wchar_t* sConnection;
};

constexpr CopyCase kTable{
    "Table",     ONE_WAY_DELETE_ALL,      L"clsReplicateTable.replicateOneWayDeleteAll(shortcut)",
    L"shortcut", L"Delete from shortcut", L"insert into laptop.shortcut select * from office.shortcut",
    L"source"};
constexpr CopyCase kComputerTypes{
    "ComputerTypes",
    COMPUTER_TYPE,
    L"clsReplicateTable.replicateComputerType(computer_type)",
    L"computer_type",
    L"Delete from computer_type_setting; delete from computer_type",
    L"insert into laptop.computer_type select * from office.computer_type;"
    L"insert into laptop.computer_type_setting select * from office.computer_type_setting;",
    L"destination"};

class FullCopy : public ReplicationTest, public testing::WithParamInterface<CopyCase>
{
protected:
    FullCopy() : copy_(GetParam())
    {
        connectAt(OFFICES);
        ado().answer(copy_.sCopy, adoAffected(12));
    }

    void copy()
    {
        if (copy_.method == COMPUTER_TYPE)
            table().replicateComputerType();
        else
            table().replicateOneWayDeleteAll();
    }

    void expectFailure()
    {
        const Error error = raised([&] { copy(); });
        EXPECT_EQ(error.number, E_FAIL);
        EXPECT_EQ(error.source, copy_.sRoutine);
    }

    const CopyCase& copy_;
    const std::wstring copySql_ = copy_.sCopy;
    const std::wstring deletes_ = std::wstring(L"destination, logged: ") + copy_.sDelete;
};

TEST_P(FullCopy, EmptiesTheDestinationAndCopiesWithItsCount)
{
    runAt(OFFICES, copy_.method);
    EXPECT_EQ(transcript(), (Lines{deletes_, copy_.sConnection + (L", logged: " + copySql_)}));
    EXPECT_EQ(logEntries().back(), L"DEBUG: Replicated table: " + std::wstring(copy_.sTable) +
                                       L"\r\n\tDeletes/Adds to destination: 12\tErrors: 0");
    EXPECT_EQ(counters(), Counters{.lCntDestAdd = 12});
    Lines calls = ado().calls();
    std::erase_if(calls, [](const std::wstring& call) { return call.find(L".Execute(") == std::wstring::npos; });
    EXPECT_EQ(calls, (Lines{L"Command(destination).Execute(missing, missing, -1)",
                            L"Command(" + std::wstring(copy_.sConnection) + L").Execute(ref 0, missing, -1)"}));
}

TEST_P(FullCopy, RunsInTheDestinationAtLaptop)
{
    runAt(LAPTOP, copy_.method);
    EXPECT_EQ(transcript(), (Lines{deletes_, L"destination, logged: " + copySql_}));
}

TEST_P(FullCopy, FailedDeleteStopsTheCopy)
{
    init(copy_.method);
    ado().failStatement(copy_.sDelete, connectionLost());
    expectFailure();
    EXPECT_EQ(transcript(), Lines{deletes_});
    EXPECT_EQ(counters(), Counters());
}

TEST_P(FullCopy, FailedCopyRecordsNothingAndKeepsTheCountOfTheLast)
{
    runAt(OFFICES, copy_.method);
    ado().forget();
    ado().failStatement(copySql_, connectionLost());
    expectFailure();
    EXPECT_EQ(sent().size(), 2U);
    EXPECT_EQ(logEntries().back().substr(0, 11), L"DEBUG: Conn");
    EXPECT_EQ(counters(), Counters{.lCntDestAdd = 12});
}

TEST_P(FullCopy, KeepsTheOtherCounters)
{
    row(L"K1", 10, 20);
    row(L"K2", 10, -10);
    runAt(OFFICES, ONE_WAY);
    init(copy_.method);
    go();
    ado().answer(copySql_, adoAffected(3));
    go();
    EXPECT_EQ(counters(), (Counters{.lCntDestUpdate = 1, .lCntDestAdd = 3, .lCntConflict = 1, .lCntError = 1}));
    EXPECT_TRUE(logEntries().back().ends_with(L"Deletes/Adds to destination: 3\tErrors: 1"));
}

TEST_P(FullCopy, EveryFailedCallIsRaisedWithTheRoutineAndItsTable)
{
    init(copy_.method);
    copy();
    const size_t calls = ado().callCount();
    ASSERT_GT(calls, 10U);
    for (size_t call = 1; call <= calls; ++call) {
        ado().failCall(call, connectionLost());
        expectFailure();
        EXPECT_EQ(ado().liveObjects(), 2) << call;
    }
}

INSTANTIATE_TEST_SUITE_P(, FullCopy, testing::Values(kTable, kComputerTypes),
                         [](const auto& info) { return std::string(info.param.name); });

class FullCopyOfATable : public ReplicationTest
{
};

TEST_F(FullCopyOfATable, PrefixesArePastedAsTheyAre)
{
    connectAt(OFFICES);
    settings().sSourceDB = L"";
    settings().sDestinationDB = L"laptop";
    init(ONE_WAY_DELETE_ALL);
    go();
    EXPECT_EQ(sent().back(), L"source: insert into laptopshortcut select * from shortcut");
}

TEST_F(FullCopyOfATable, ClosedDestinationIsNotAvailable)
{
    connectAt(OFFICES);
    settings().remoteConnection()->getConn().close();
    init(ONE_WAY_DELETE_ALL);
    EXPECT_EQ(goError().description, L"Remote database not available as Destination");
    EXPECT_EQ(sent(), Lines());
}

} // namespace
