#include "BadInput.h"

namespace {

/// A statement that spoils the office's control data, and the error that the start of a run raises for it.
struct BadStart
{
    const char* name;
    const wchar_t* sql;
    long number;
    const wchar_t* description;
};

void PrintTo(const BadStart& start, std::ostream* stream)
{
    *stream << testing::PrintToString(start.sql);
}

class BadStarts : public BadInput, public testing::WithParamInterface<BadStart>
{
};

INSTANTIATE_TEST_SUITE_P(
    All, BadStarts,
    testing::Values(
        BadStart{"NoControlRecord", L"delete from replication_control where unique_key = 0", kOwnError,
                 L"Replication control error - control record missing"},
        BadStart{"NoLastTimestamp", L"update replication_control set last_timestamp = null", kOwnError,
                 L"Replication Control Error - Last Replication Date not a valid date"},
        BadStart{"TwoRecordsThatAreNotReady",
                 L"update replication_control set ready_f = 0; insert into replication_control (unique_key, ready_f,"
                 L" error_f, last_timestamp) values (0, 0, 0, '2025-03-10T12:00:00')",
                 kOwnError, L"Replication control error - updated 2 row(s)"},
        BadStart{"NoProgramVersion", L"delete from control where type = 'ReplicationVersion'", kCheckFailed,
                 L"No version information found on the database for ReplicationVersion"},
        BadStart{"OtherProgramVersion", L"update control set id = '3.47' where type = 'ReplicationVersion'",
                 kCheckFailed,
                 L"The version of the program does not match the version of the database.\r\n"
                 L"Program version:  3.46  Database Version: 3.47"},
        BadStart{"OtherDatabaseVersion", L"update control set id = '13' where type = 'PatInfoVer'", kCheckFailed,
                 L"Database Versions (PatInfoVer) out of sync.  Source = 13, Destination = 12"}),
    [](const auto& info) { return info.param.name; });

TEST_P(BadStarts, RaiseAndLeaveTheRunInError)
{
    local().execute(GetParam().sql);
    connect();
    const RunObject run = createRun();
    EXPECT_THAT(initFailure(*run.Get()),
                isError(GetParam().number, L"clsReplicate.initNextRun", GetParam().description));
    EXPECT_TRUE(runFailed(*run.Get()));
    EXPECT_EQ(runError(*run.Get()),
              L"clsReplicate.initNextRun: " + std::to_wstring(GetParam().number) + L": " + GetParam().description);
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
