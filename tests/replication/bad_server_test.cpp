#include "BadInput.h"
#include "support/PracticeNeeds.h"

using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class BadServer : public OnPostgreSql<BadInput>
{
};

TEST_F(BadServer, ThatDoesNotListenFailsInit)
{
    host().sourceDsn += L";Port=1";
    EXPECT_THAT(connectFailure(), isError(kFailed, L"Factory.init", Not(IsEmpty())));
    EXPECT_EQ(log(), L"");
}

TEST_F(BadServer, ThatIsGoneBeforeTheRunFailsItsStart)
{
    host().sourceDsn = taggedDsn(host().sourceDsn, L"quinmark_cut");
    connect();
    const RunObject run = createRun();
    destination().execute(cutStatement(L"quinmark_cut"));
    EXPECT_THAT(initFailure(*run.Get()), isError(kFailed, L"clsReplicate.initNextRun", Not(IsEmpty())));
    EXPECT_TRUE(runFailed(*run.Get()));
    EXPECT_THAT(runError(*run.Get()), StartsWith(L"clsReplicate.initNextRun: -2147467259: "));
    disconnect();
    host().sourceDsn = setting(L"QUINMARK_OFFICE_DSN");
    expectGoodRun();
}

TEST_F(BadServer, ThatIsGoneWhenTheTablesStartFailsTheRun)
{
    host().sourceDsn = taggedDsn(host().sourceDsn, L"quinmark_cut");
    connect();
    const RunObject run = createRun();
    initNextRun(*run.Get());
    const TableObject table = createTable(kConfig);
    destination().execute(cutStatement(L"quinmark_cut"));
    const com::Error error = raised([&] { go(*run.Get(), {table}); });
    EXPECT_THAT(error, isError(kFailed, L"clsReplicate.go", Not(IsEmpty())));
    EXPECT_EQ(runError(*run.Get()), error.description);
    EXPECT_FALSE(runFailed(*run.Get()));
    EXPECT_EQ(countersOf(*table.Get()), Counters{});
    EXPECT_EQ(controlRecord(), L"True|False|<Null>|2025-03-10 12:00:00.000");
    disconnect();
    host().sourceDsn = setting(L"QUINMARK_OFFICE_DSN");
    expectGoodRun();
}

TEST_F(BadServer, RemoteThatIsGoneFailsTheTableAndLeavesTheKeyDropped)
{
    host().destinationDsn = taggedDsn(host().destinationDsn, L"quinmark_cut");
    connect();
    const RunObject run = createRun();
    initNextRun(*run.Get());
    source().execute(cutStatement(L"quinmark_cut"));
    const com::Error error = raised([&] { go(*run.Get(), {createTable(kConfig)}); });
    EXPECT_THAT(error, isError(kFailed, L"clsReplicate.go", Not(IsEmpty())));
    EXPECT_FALSE(local().hasPatientKey());
    EXPECT_EQ(controlRecord(), L"True|False|<Null>|2025-03-10 12:00:00.000");
    disconnect();
    host().destinationDsn = setting(L"QUINMARK_LAPTOP_DSN");
    expectGoodRun();
}

} // namespace
