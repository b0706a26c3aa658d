#include "support/RunFixture.h"

using namespace quinmark;

namespace {

TEST_F(ReplicateTest, OfficesRunAdvancesTheInterval)
{
    ready();
    replicate_.go(tables({}));
    EXPECT_EQ(ado().statements(), onLocal(officesRun()));
    EXPECT_EQ(replicate_.dLastReplicate(), kNow);
    EXPECT_EQ(replicate_.dNextReplicate(), kNow);
}

TEST_F(ReplicateTest, LaptopRunLeavesTheIntervalAlone)
{
    connectAt(1);
    ready();
    replicate_.go(tables({}));
    EXPECT_EQ(ado().statements(), onLocal({clearCountsSql(), kDropKey, kAddKey, clearReadySql(), flagsSql()}));
    EXPECT_EQ(replicate_.dLastReplicate(), kLast);
}

TEST_F(ReplicateTest, RunUsesTheLocalConnectionWhateverTheRole)
{
    connectAt(0, L"DESTINATION");
    ready();
    replicate_.go(tables({}));
    EXPECT_EQ(ado().statements(), onLocal(officesRun()));
}

TEST_F(ReplicateTest, ForeignKeyStatementsAreLoggedAtDebugBeforeTheyRun)
{
    ready();
    Lines before;
    ado().whenExecuting(kDropKey, [&] { before = logEntries(); });
    replicate_.go(tables({}));
    EXPECT_EQ(before, (Lines{std::wstring(L"DEBUG: ") + kDropKey}));
    EXPECT_EQ(logEntries(), (Lines{std::wstring(L"DEBUG: ") + kDropKey, std::wstring(L"DEBUG: ") + kAddKey}));
}

TEST_F(ReplicateTest, RunReloadsTheFlags)
{
    ready();
    flags(false, true, L"Row lost");
    replicate_.go(tables({}));
    EXPECT_FALSE(replicate_.bReady());
    EXPECT_TRUE(replicate_.bError());
    EXPECT_EQ(replicate_.sErrorMessage(), L"Row lost");
}

TEST_F(ReplicateTest, TablesRunInOrderBetweenTheKeyStatements)
{
    ready();
    const auto first = table();
    const auto second = table();
    Statements atFirst;
    size_t firstsCalls = 0;
    first->whenRun = [&](DATE&, DATE&) { atFirst = ado().statements(); };
    second->whenRun = [&](DATE&, DATE&) { firstsCalls = first->calls.size(); };
    replicate_.go(tables({first.Get(), second.Get()}));
    EXPECT_EQ(atFirst, onLocal({clearCountsSql(), kDropKey}));
    EXPECT_EQ(firstsCalls, 1U);
    EXPECT_EQ(first->calls, (Lines{L"go(11/15/2026, 11/16/2026 12:00:00 PM)"}));
    EXPECT_EQ(second->calls, first->calls);
}

TEST_F(ReplicateTest, TablesGetTheRunsOwnDatesByReference)
{
    ready();
    const auto first = table();
    const auto second = table();
    first->whenRun = [](DATE& last, DATE&) { last += 1; };
    replicate_.go(tables({first.Get(), second.Get()}));
    EXPECT_EQ(second->calls, (Lines{L"go(11/16/2026, 11/16/2026 12:00:00 PM)"}));
}

TEST_F(ReplicateTest, FailingTableLeavesTheKeyDroppedAndTheRecordAsItWas)
{
    ready();
    const auto failing = table();
    const auto never = table();
    failing->whenRun = [](DATE&, DATE&) { throw Error{E_FAIL, L"clsReplicateTable.go", L"Row lost"}; };
    EXPECT_EQ(raised([&] {
                  replicate_.go(tables({failing.Get(), never.Get()}));
              }),
              (Error{E_FAIL, L"clsReplicate.go", L"Row lost"}));
    EXPECT_EQ(never->calls, Lines());
    EXPECT_EQ(ado().statements(), onLocal({clearCountsSql(), kDropKey}));
    EXPECT_EQ(replicate_.sErrorMessage(), L"Row lost");
    EXPECT_FALSE(replicate_.bError());
    EXPECT_EQ(replicate_.dLastReplicate(), kLast);
}

TEST_F(ReplicateTest, FailingRunLeavesTheErrorOfTheRecord)
{
    flags(true, true, L"Disk full");
    ready();
    ado().failStatement(clearCountsSql(), connectionLost());
    EXPECT_EQ(raised([&] { replicate_.go(tables({})); }).description, L"Connection lost");
    EXPECT_TRUE(replicate_.bError());
    EXPECT_EQ(replicate_.sErrorMessage(), L"Connection lost");
}

TEST_F(ReplicateTest, ElementThatIsNoTableIsATypeMismatch)
{
    ready();
    const auto collection = com::makeObject<quinmark::Collection>();
    collection->add(12L);
    EXPECT_EQ(raised([&] { replicate_.go(_variant_t(static_cast<IDispatch*>(collection.Get()))); }),
              (Error{13, L"clsReplicate.go", L"Type mismatch"}));
}

TEST_F(ReplicateTest, NothingInPlaceOfTheCollectionRaises91)
{
    ready();
    EXPECT_EQ(raised([&] { replicate_.go(_variant_t(static_cast<IDispatch*>(nullptr))); }),
              (Error{91, L"clsReplicate.go", L"Object variable or With block variable not set"}));
}

TEST_F(ReplicateTest, AdvancingOtherThanOneRowStopsTheRun)
{
    ado().answer(advanceSql(), adoAffected(0));
    ready();
    EXPECT_EQ(raised([&] { replicate_.go(tables({})); }),
              (Error{kOwnErrorRaised, L"clsReplicate.go", L"Replication control error - updated 0 row(s)"}));
    EXPECT_EQ(ado().statements(), onLocal({clearCountsSql(), kDropKey, kAddKey, advanceSql()}));
    EXPECT_EQ(replicate_.dLastReplicate(), kLast);
}

TEST_F(ReplicateTest, ReschedulingTwoRowsStopsTheRun)
{
    ado().answer(nextSql(), adoAffected(2));
    ready();
    EXPECT_EQ(raised([&] { replicate_.go(tables({})); }),
              (Error{kOwnErrorRaised, L"clsReplicate.go", L"Replication control error - updated 2 row(s)"}));
    EXPECT_EQ(replicate_.dLastReplicate(), kNow);
}

TEST_F(ReplicateTest, EveryFailedStatementOfARunLeavesItsDescription)
{
    ready();
    for (const std::wstring& statement : officesRun()) {
        ado().failStatement(statement, connectionLost());
        EXPECT_EQ(raised([&] { replicate_.go(tables({})); }), (Error{E_FAIL, L"clsReplicate.go", L"Connection lost"}));
        EXPECT_EQ(replicate_.sErrorMessage(), L"Connection lost");
        EXPECT_FALSE(replicate_.bError());
        EXPECT_EQ(ado().liveObjects(), 2);
    }
}

} // namespace
