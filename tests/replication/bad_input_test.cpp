#include "BadInput.h"
#include "support/MessageBoxes.h"

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

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

TEST_F(BadInput, WrongPasswordFailsInitAndIsNotRepeated)
{
    host().destinationPassword = L"not-the-password";
    EXPECT_THAT(connectFailure(), isError(kLogonRefused, L"Factory.init",
                                          AllOf(HasSubstr(L"quinmarkapp_user"), Not(HasSubstr(L"not-the-password")))));
}

TEST_F(BadInput, MissingTableLeavesTheKeyDroppedUntilTheNextGoodRun)
{
    source().execute(L"insert into config (category, config_name) values ('run', 'copied')");
    EXPECT_THAT(runFailure({kConfig, {.method = ONE_WAY_DELETE_ALL, .table = L"no_such_table"}, kConfig}),
                isError(kNoSuchTable, L"clsReplicate.go", HasSubstr(L"no_such_table")));
    EXPECT_EQ(destination().count(L"config"), 1);
    EXPECT_FALSE(local().hasPatientKey());
    EXPECT_TRUE(remote().hasPatientKey());
    EXPECT_EQ(controlRecord(), L"True|False|<Null>|2025-03-10 12:00:00.000");
    expectGoodRun();
}

TEST_F(BadInput, MissingTableOfAOneWayCopyIsRecordedAsTheRunsError)
{
    const com::Error error = runFailure({{.method = ONE_WAY, .table = L"no_such_table"}});
    constexpr std::wstring_view kRoutine = L"clsReplicateTable.replicateOneWay(no_such_table): ";
    EXPECT_THAT(error, isError(kNoSuchTable, L"clsReplicate.go", StartsWith(std::wstring(kRoutine))));
    EXPECT_EQ(recordedError(),
              L"error: clsReplicateTable.replicateOneWay: " + error.description.substr(kRoutine.size()));
    EXPECT_THAT(counts(), IsEmpty());
    EXPECT_FALSE(logged(L"Replicated table"));
}

TEST_F(BadInput, PrefixWithoutItsDotEmptiesTheDestinationAndRaises)
{
    source().execute(L"insert into config (category, config_name) values ('run', 'copied')");
    destination().execute(L"insert into config (category, config_name) values ('run', 'lost')");
    host().sourcePrefix.pop_back();
    EXPECT_THAT(runFailure({kConfig}), isError(kNoSuchTable, L"clsReplicate.go", Not(IsEmpty())));
    EXPECT_EQ(destination().count(L"config"), 0);
    EXPECT_EQ(source().count(L"config"), 1);
}

TEST_F(BadInput, StrangersAmongTheTablesAreATypeMismatchAndMayBeFollowedByAnotherGo)
{
    connect();
    const RunObject run = createRun();
    initNextRun(*run.Get());
    for (const _variant_t& stranger : {_variant_t(7L), _variant_t(static_cast<IDispatch*>(run.Get())),
                                       _variant_t(static_cast<IDispatch*>(nullptr)), _variant_t(L"patient")})
    {
        _variant_t array;
        array.parray = SafeArrayCreateVector(VT_VARIANT, 0, 1);
        array.vt = VT_ARRAY | VT_VARIANT;
        *static_cast<VARIANT*>(array.parray->pvData) = _variant_t(stranger).Detach();
        EXPECT_THAT(raised([&] { goCollection(*run.Get(), array); }),
                    isError(13, L"clsReplicate.go", L"Type mismatch"));
    }
    EXPECT_FALSE(local().hasPatientKey());
    go(*run.Get(), {createTable(kConfig)});
    EXPECT_TRUE(local().hasPatientKey());
}

class BadLog : public NeedsDisplay<PracticePair>
{
};

TEST_F(BadLog, IsShownOnceAndFailsTheRun)
{
    host().logFile = L"C:\\no such folder\\quinmark.log";
    const MessageBoxes boxes;
    EXPECT_THAT(raised([&] { replicate(kConfig); }), isError(static_cast<long>(0x80040001), L"clsReplicate.go",
                                                             L"Error: -2147221503\r\nDesc:Exiting method"));
    ASSERT_EQ(boxes.shown().size(), 1U);
    EXPECT_EQ(boxes.shown().front(), (ShownBox{L"QuinmarkRepDLL", L"Utils.WriteLog: Path not found", {L"OK"}}));
    EXPECT_TRUE(local().hasPatientKey());
    EXPECT_EQ(controlRecord(), L"True|False|<Null>|2025-03-10 12:00:00.000");
}

} // namespace
