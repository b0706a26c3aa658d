#include "BadInput.h"
#include "support/Relay.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

/// Servers that go away, or were never there. tests/faults fails every single call into ADO.
class BadServer : public BadInput
{
protected:
    void SetUp() override
    {
        relay_ = relayToServer();
        if (relay_)
            BadInput::SetUp();
    }

    /// Connects to one side through the relay, and returns a run object.
    RunObject start(std::wstring HostSettings::*dsn)
    {
        const HostSettings good = host();
        host().*dsn = relay_->dataSource(host().*dsn);
        connect();
        host() = good;
        return createRun();
    }

    void cut() { relay_->cut(); }

    /// The failure of a run that loses a side at a statement with this text.
    com::Error failureOfCutRun(std::wstring HostSettings::*dsn, const TablePlan& plan, const std::wstring& text)
    {
        const HostSettings good = host();
        host().*dsn = relay_->dataSource(host().*dsn);
        relay_->cutAt(text);
        const com::Error error = runFailure({plan});
        host() = good;
        return error;
    }

    void expectGoodRunAfterwards()
    {
        disconnect();
        expectGoodRun();
    }

private:
    std::unique_ptr<Relay> relay_;
};

TEST_F(BadServer, ThatDoesNotListenFailsInit)
{
    host().sourceDsn = atPort(host().sourceDsn, 1);
    EXPECT_THAT(connectFailure(), isError(kFailed, L"Factory.init", Not(IsEmpty())));
    EXPECT_EQ(log(), L"");
}

TEST_F(BadServer, ThatIsGoneBeforeTheRunFailsItsStart)
{
    const RunObject run = start(&HostSettings::sourceDsn);
    cut();
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
    cut();
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
    cut();
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
    EXPECT_THAT(failureOfCutRun(&HostSettings::destinationDsn, kUsers, L"values (10, 'new'"),
                isError(kFailed, L"clsReplicate.go", Not(IsEmpty())));
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
    EXPECT_THAT(failureOfCutRun(&HostSettings::sourceDsn, kConfig, L"config select * from "),
                isError(kFailed, L"clsReplicate.go", Not(IsEmpty())));
    EXPECT_EQ(destination().count(L"config"), 0);
    EXPECT_EQ(recordedError(), L"none");
    EXPECT_FALSE(local().hasPatientKey());
    expectGoodRun();
}

} // namespace
