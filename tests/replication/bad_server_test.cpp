#include "BadInput.h"

using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr wchar_t kTag[] = L"quinmark_cut";

/// Servers that go away, or were never there.
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

} // namespace
