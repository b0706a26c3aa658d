#include "BadInput.h"
#include "support/MessageBoxes.h"
#include "support/PracticeNeeds.h"

#include <thread>

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

TEST_F(BadInput, UnknownLocalDataSourceFailsInit)
{
    host().sourceDsn = L"NoSuchDataSource";
    EXPECT_THAT(connectFailure(), isError(kFailed, L"Factory.init", HasSubstr(L"Data source name not found")));
}

TEST_F(BadInput, UnknownRemoteDataSourceFailsInitAndLeavesNothingToWaitFor)
{
    const std::wstring dsn = host().destinationDsn;
    host().destinationDsn = L"NoSuchDataSource";
    EXPECT_THAT(connectFailure(), isError(kFailed, L"Factory.init", HasSubstr(L"Data source name not found")));
    host().destinationDsn = dsn;
    const ULONGLONG start = GetTickCount64();
    connect();
    EXPECT_LT(GetTickCount64() - start, 4000U);
    EXPECT_TRUE(ensureReplication());
}

TEST_F(BadInput, WrongPasswordFailsInit)
{
    host().sourcePassword = L"not the password";
    EXPECT_THAT(connectFailure(), isError(kLogonRefused, L"Factory.init", HasSubstr(L"quinmarkapp_user")));
}

TEST_F(BadInput, WrongPasswordIsNotRepeatedInTheError)
{
    host().destinationPassword = L"not-the-password";
    EXPECT_THAT(connectFailure(), isError(kLogonRefused, L"Factory.init", Not(HasSubstr(L"not-the-password"))));
}

TEST_F(BadInput, UnknownRoleFailsInitAndConnectsNothing)
{
    host().role = L"LOCAL";
    EXPECT_THAT(connectFailure(),
                isError(kOwnError, L"Factory.init", L"Local Connection not set to SOURCE or DESTINATION"));
    EXPECT_FALSE(ensureReplication());
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
    EXPECT_THAT(error, isError(kNoSuchTable, L"clsReplicate.go",
                               StartsWith(L"clsReplicateTable.replicateOneWay(no_such_table): ")));
    constexpr std::wstring_view kRoutine = L"clsReplicateTable.replicateOneWay(no_such_table): ";
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

TEST_F(BadInput, NoCollectionAtAllIsRefused)
{
    connect();
    const RunObject run = createRun();
    initNextRun(*run.Get());
    EXPECT_THAT(raised([&] { goCollection(*run.Get(), _variant_t(static_cast<IDispatch*>(nullptr))); }),
                isError(91, L"clsReplicate.go", Not(IsEmpty())));
    EXPECT_THAT(raised([&] { goCollection(*run.Get(), _variant_t(7L)); }),
                isError(13, L"clsReplicate.go", L"Type mismatch"));
}

TEST_F(BadInput, CallsBeforeInitRaiseThatThereIsNoConnection)
{
    // Settings are a thread's own: a new one has none.
    std::thread([this] {
        const Apartment apartment;
        Microsoft::WRL::ComPtr<_Factory> fresh;
        com::check(com::Dispatch::create(L"QuinmarkRepDLL.Factory").get()->QueryInterface(IID_PPV_ARGS(&fresh)));
        VARIANT_BOOL passed = VARIANT_TRUE;
        EXPECT_EQ(fresh->ensureReplication(&passed), S_OK);
        EXPECT_EQ(passed, VARIANT_FALSE);
        RunObject run;
        com::checkCall(fresh->createReplication(run.GetAddressOf()));
        const std::wstring unset = L"Object variable or With block variable not set";
        EXPECT_THAT(initFailure(*run.Get()), isError(91, L"clsReplicate.initNextRun", unset));
        EXPECT_THAT(raised([&] { com::checkCall(fresh->resetError()); }).source, L"Factory.resetError");
        EXPECT_EQ(fresh->disconnect(), S_OK);
        EXPECT_EQ(fresh->closeConnection(), S_OK);
    }).join();
}

TEST_F(BadInput, ClosedConnectionsAreNotAvailable)
{
    connect();
    const TableObject table = createTable({.method = ONE_WAY_DELETE_ALL, .table = L"config"});
    disconnect();
    DATE date = 45000;
    _variant_t ignored;
    EXPECT_THAT(raised([&] { com::checkCall(table->go(&date, &date, &ignored)); }),
                isError(91, L"clsReplicateTable.go", Not(IsEmpty())));
}

class BadLog : public OnDisplay<PracticePair>
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

TEST_F(BadLog, ThatIsAFolderIsShown)
{
    host().logFile = L"C:\\windows";
    const MessageBoxes boxes;
    EXPECT_THAT(raised([&] { replicate(kConfig); }), isError(static_cast<long>(0x80040001), L"clsReplicate.go",
                                                             L"Error: -2147221503\r\nDesc:Exiting method"));
    ASSERT_EQ(boxes.shown().size(), 1U);
    EXPECT_EQ(boxes.shown().front().text, L"Utils.WriteLog: Path/File access error");
}

} // namespace
