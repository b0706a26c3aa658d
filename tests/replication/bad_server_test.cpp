#include "BadInput.h"
#include "support/Sabotage.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr wchar_t kTag[] = L"quinmark_cut";

/// Servers that go away, or were never there. tests/faults fails every single call into ADO.
class BadServer : public NeedsPostgreSql<BadInput>
{
protected:
    /// Connects with connections that `cut` ends, and with a run object.
    RunObject start(std::wstring HostSettings::*dsn)
    {
        const HostSettings good = host();
        host().*dsn = taggedDsn(host().*dsn, kTag);
        connect();
        host() = good;
        return createRun();
    }

    static void cut(const PracticeSide& side) { side.execute(cutStatement(kTag)); }

    void expectGoodRunAfterwards()
    {
        disconnect();
        expectGoodRun();
    }
};

TEST_F(BadServer, ThatDoesNotListenFailsInit)
{
    host().sourceDsn += L";Port=1";
    EXPECT_THAT(connectFailure(), isError(kFailed, L"Factory.init", Not(IsEmpty())));
    EXPECT_EQ(log(), L"");
}

TEST_F(BadServer, ThatIsGoneBeforeTheRunFailsItsStart)
{
    const RunObject run = start(&HostSettings::sourceDsn);
    cut(destination());
    EXPECT_THAT(initFailure(*run.Get()), isError(kFailed, L"clsReplicate.initNextRun", Not(IsEmpty())));
    EXPECT_TRUE(runFailed(*run.Get()));
    EXPECT_THAT(runError(*run.Get()), StartsWith(L"clsReplicate.initNextRun: -2147467259: "));
    expectGoodRunAfterwards();
}

TEST_F(BadServer, ThatIsGoneWhenTheTablesStartFailsTheRun)
{
    const RunObject run = start(&HostSettings::sourceDsn);
    initNextRun(*run.Get());
    const TableObject table = createTable(kConfig);
    cut(destination());
    const com::Error error = raised([&] { go(*run.Get(), {table}); });
    EXPECT_THAT(error, isError(kFailed, L"clsReplicate.go", Not(IsEmpty())));
    EXPECT_EQ(runError(*run.Get()), error.description);
    EXPECT_FALSE(runFailed(*run.Get()));
    EXPECT_EQ(countersOf(*table.Get()), TableCounters{});
    EXPECT_EQ(controlRecord(), L"True|False|<Null>|2025-03-10 12:00:00.000");
    expectGoodRunAfterwards();
}

TEST_F(BadServer, ThatIsRemoteAndGoneFailsTheTableAndLeavesTheKeyDropped)
{
    const RunObject run = start(&HostSettings::destinationDsn);
    initNextRun(*run.Get());
    cut(source());
    EXPECT_THAT(raised([&] { go(*run.Get(), {createTable(kConfig)}); }),
                isError(kFailed, L"clsReplicate.go", Not(IsEmpty())));
    EXPECT_FALSE(local().hasPatientKey());
    EXPECT_EQ(controlRecord(), L"True|False|<Null>|2025-03-10 12:00:00.000");
    expectGoodRunAfterwards();
}

TEST_F(BadServer, ThatIsGoneInTheMiddleOfATableKeepsTheRowsBeforeAndTheNextRunDoesTheRest)
{
    const TablePlan kUsers{.method = ONE_WAY_ALLOW_DELETES, .table = L"users"};
    addUser(source(), 7, L"changed", kNew);
    addUser(destination(), 7, L"before", kOld);
    for (const int key : {9, 10})
        addUser(source(), key, L"new", kNew);
    addUser(destination(), 11, L"gone", kOld);
    {
        const CutConnection cut(destination(), L"users", L"insert", L"new.unid = 10");
        EXPECT_THAT(runFailure({kUsers}), isError(kFailed, L"clsReplicate.go", Not(IsEmpty())));
    }
    EXPECT_THAT(users(destination()), ElementsAre(L"7|changed", L"9|new", L"11|gone"));
    EXPECT_THAT(recordedError(), StartsWith(L"error: clsReplicateTable.replicateOneWay: "));
    EXPECT_FALSE(local().hasPatientKey());
    EXPECT_THAT(counts(), IsEmpty());
    EXPECT_EQ(controlRecord(), L"True|True|" + recordedError().substr(7) + L"|2025-03-10 12:00:00.000");
    resetError(local());
    EXPECT_EQ(replicate(kUsers), (TableCounters{.destAdd = 1, .destDelete = 1}));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|changed", L"9|new", L"10|new"));
    EXPECT_TRUE(local().hasPatientKey());
}

TEST_F(BadServer, ThatIsGoneInAFullCopyLeavesTheDestinationEmptyUntilTheNextRun)
{
    source().execute(L"insert into config (category, config_name) values ('run', 'a'), ('run', 'b')");
    destination().execute(L"insert into config (category, config_name) values ('run', 'stale')");
    {
        const CutConnection cut(destination(), L"config", L"insert", L"new.config_name = 'b'");
        EXPECT_THAT(runFailure({kConfig}), isError(kFailed, L"clsReplicate.go", Not(IsEmpty())));
    }
    EXPECT_EQ(destination().count(L"config"), 0);
    EXPECT_EQ(recordedError(), L"none");
    EXPECT_FALSE(local().hasPatientKey());
    expectGoodRun();
}

} // namespace
