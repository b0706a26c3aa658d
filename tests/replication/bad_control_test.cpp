#include "BadInput.h"

namespace {

TEST_F(BadInput, MissingControlRecordFailsTheStart)
{
    local().execute(L"delete from replication_control where unique_key = 0");
    connect();
    const RunObject run = createRun();
    EXPECT_THAT(initFailure(*run.Get()),
                isError(kOwnError, L"clsReplicate.initNextRun", L"Replication control error - control record missing"));
    EXPECT_TRUE(runFailed(*run.Get()));
    EXPECT_EQ(runError(*run.Get()),
              L"clsReplicate.initNextRun: -2147220504: Replication control error - control record missing");
}

TEST_F(BadInput, MissingLastTimestampFailsTheStart)
{
    local().execute(L"update replication_control set last_timestamp = null");
    connect();
    const RunObject run = createRun();
    EXPECT_THAT(initFailure(*run.Get()),
                isError(kOwnError, L"clsReplicate.initNextRun",
                        L"Replication Control Error - Last Replication Date not a valid date"));
    EXPECT_TRUE(runFailed(*run.Get()));
    EXPECT_EQ(controlRecord(), L"True|False|<Null>|<Null>");
}

TEST_F(BadInput, TwoControlRecordsFailTheOfficesRunAtItsEnd)
{
    local().execute(L"insert into replication_control (unique_key, ready_f, error_f, last_timestamp, next_timestamp)"
                    L" values (0, 1, 0, '2025-03-10T12:00:00', null)");
    source().execute(L"insert into config (category, config_name) values ('run', 'copied')");
    EXPECT_THAT(runFailure({kConfig}),
                isError(kOwnError, L"clsReplicate.go", L"Replication control error - updated 2 row(s)"));
    EXPECT_EQ(destination().count(L"config"), 1);
    EXPECT_TRUE(local().hasPatientKey());
}

TEST_F(BadInput, TwoControlRecordsThatAreNotReadyFailTheStart)
{
    local().execute(L"insert into replication_control (unique_key, ready_f, error_f, last_timestamp, next_timestamp)"
                    L" values (0, 0, 0, '2025-03-10T12:00:00', null)");
    local().execute(L"update replication_control set ready_f = 0");
    connect();
    const RunObject run = createRun();
    EXPECT_THAT(initFailure(*run.Get()),
                isError(kOwnError, L"clsReplicate.initNextRun", L"Replication control error - updated 2 row(s)"));
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
    VARIANT_BOOL error = VARIANT_TRUE;
    _bstr_t message(L"Müller's run: 5 € short");
    com::checkCall(factory().setError(&error, &message.GetBSTR()));
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
