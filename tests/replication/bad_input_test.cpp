#include "BadInput.h"

using testing::HasSubstr;

namespace {

TEST_F(BadInput, UnknownDataSourceFailsInitAndLeavesNothingToWaitFor)
{
    const HostSettings good = host();
    for (std::wstring HostSettings::*dsn : {&HostSettings::sourceDsn, &HostSettings::destinationDsn}) {
        host().*dsn = L"NoSuchDataSource";
        EXPECT_THAT(connectFailure(), isError(kFailed, L"Factory.init", HasSubstr(L"Data source name not found")));
        host() = good;
    }
    const ULONGLONG start = GetTickCount64();
    connect();
    EXPECT_LT(GetTickCount64() - start, 4000U);
    EXPECT_TRUE(ensureReplication());
}

TEST_F(BadInput, MissingTableLeavesTheKeyDroppedUntilTheNextGoodRun)
{
    if (!tryOrSkip(L"a number for missing tables", [&] {
            const com::Error told = raised([&] { source().execute(L"delete from no_such_table"); });
            if (told.number != kNoSuchTable)
                throw told;
        }))
        return;
    source().execute(L"insert into config (category, config_name) values ('run', 'copied')");
    EXPECT_THAT(runFailure({kConfig, {.method = ONE_WAY_DELETE_ALL, .table = L"no_such_table"}, kConfig}),
                isError(kNoSuchTable, L"clsReplicate.go", HasSubstr(L"no_such_table")));
    EXPECT_EQ(destination().count(L"config"), 1);
    EXPECT_FALSE(local().hasPatientKey());
    EXPECT_TRUE(remote().hasPatientKey());
    EXPECT_EQ(controlRecord(), L"True|False|<Null>|2025-03-10 12:00:00.000");
    expectGoodRun();
}

TEST_F(BadInput, MissingControlRecordStopsTheStart)
{
    constexpr wchar_t kMissing[] = L"Replication control error - control record missing";
    local().execute(L"delete from replication_control where unique_key = 0");
    connect();
    const RunObject run = createRun();
    EXPECT_THAT(initFailure(*run.Get()), isError(kOwnError, L"clsReplicate.initNextRun", kMissing));
    EXPECT_TRUE(runFailed(*run.Get()));
    EXPECT_EQ(runError(*run.Get()), L"clsReplicate.initNextRun: -2147220504: " + std::wstring(kMissing));
}

TEST_F(BadInput, ChecksThatFailAreRecordedForThisSiteAlone)
{
    constexpr wchar_t kVersions[] =
        L"Database Versions (Quinmark Version) out of sync.  Source = 3.46, Destination = 3.5";
    for (const auto& [sql, message] :
         {std::pair(L"update control set id = '3.5' where type = 'Version'", kVersions),
          std::pair(L"update control set id = 'Eastmere' where type = 'DBOffice'", L"Subscript out of range")})
    {
        restoreControl();
        destination().execute(sql);
        connect();
        EXPECT_FALSE(ensureReplication());
        EXPECT_EQ(factoryError(), message);
        EXPECT_EQ(recordedError(), std::wstring(L"error: ") + message);
        for (const PracticeSide* side : {&source(), &destination()})
            EXPECT_EQ(side->row(L"select count(*) from replication_control where error_message is not null"),
                      side == &local() ? L"1" : L"0");
        disconnect();
    }
}

TEST_F(BadInput, NotReadyPostponesTheNextAttempt)
{
    local().execute(L"update replication_control set ready_f = 0 where unique_key = 0");
    connect();
    const RunObject run = createRun();
    initNextRun(*run.Get());
    EXPECT_EQ(controlRecord(), L"False|False|<Null>|2025-03-10 12:00:00.000");
    EXPECT_NEAR(com::toDate(local().value(L"select next_timestamp from replication_control where unique_key = 0")),
                com::toDate(local().value(L"select getdate()")) + kFrequencySeconds / 86400.0, 30 / 86400.0);
}

TEST_F(BadInput, ErrorStateOfTheRunStopsTheNextOneUntilItIsReset)
{
    connect();
    com::Dispatch(&factory()).call(L"setError", {true, L"Müller's run: 5 € short"});
    EXPECT_EQ(recordedError(), L"error: Müller's run: 5 € short");
    RunObject run = createRun();
    initNextRun(*run.Get());
    EXPECT_TRUE(runFailed(*run.Get()));
    EXPECT_EQ(runError(*run.Get()), L"Müller's run: 5 € short");
    resetError();
    EXPECT_EQ(controlRecord(), L"True|False|<Null>|2025-03-10 12:00:00.000");
    run = createRun();
    initNextRun(*run.Get());
    EXPECT_FALSE(runFailed(*run.Get()));
    EXPECT_EQ(runError(*run.Get()), L"");
}

} // namespace
