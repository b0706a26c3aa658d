#include "HostError.h"
#include "Quinrep.h"
#include "com/convert.h"
#include "support/Sabotage.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::Not;

TEST_F(Quinrep, CheckOfAPairInOrderFindsNothing)
{
    const Ended ended = quinrepJson(L"check", "check");
    EXPECT_EQ(ended.exitCode, kDone) << ended.output;
    const auto result = ended.json();
    EXPECT_FALSE(result["checks"].empty());
    for (const auto& check : result["checks"])
        EXPECT_TRUE(check["ok"]) << check;
}

TEST_F(Quinrep, CheckTellsEveryFindingWithWhatToDo)
{
    programVersion = "9.99";
    tables += "[[table]]\nname = \"no_such_table\"\nmethod = \"one_way\"\n"
              "[[table]]\nname = \"procs\"\nmethod = \"by_key\"\nkey = \"no_key\"\ndeletes = \"skip\"\n";
    source().execute(L"delete from replication_control where unique_key = 0");
    const Ended ended = quinrepJson(L"check", "check");
    EXPECT_EQ(ended.exitCode, kNotReady);
    int bad = 0;
    const auto result = ended.json();
    for (const auto& check : result["checks"]) {
        if (check["ok"])
            continue;
        ++bad;
        EXPECT_NE(check["finding"], "");
        EXPECT_NE(check["todo"], "") << check;
    }
    EXPECT_EQ(bad, 4) << ended.output;
    EXPECT_THAT(quinrep(L"check").output, HasSubstr("BAD  table no_such_table\n     the source cannot read it: "));
}

TEST_F(Quinrep, RunCopiesAndTellsEachTable)
{
    addUser(source(), 1, L"new", kNew);
    const Ended ended = quinrepJson(L"run", "run");
    EXPECT_EQ(ended.exitCode, kDone) << ended.messages;
    EXPECT_EQ(ended.json()["tables"][0]["adds"], 1);
    EXPECT_THAT(users(destination()), testing::ElementsAre(L"1|new"));
    EXPECT_THAT(ended.messages, testing::StartsWith("[1/1] users running ("));
    EXPECT_THAT(ended.messages, HasSubstr(" s)\n[1/1] users done ("));
    EXPECT_THAT(ended.messages, Not(HasSubstr("\r")));
}

TEST_F(Quinrep, QuietRunSaysNothingOnStandardError)
{
    EXPECT_EQ(quinrep(L"-q run").messages, "");
}

TEST_F(Quinrep, RunWithAConflictEndsWithTwo)
{
    addUser(source(), 1, L"S", kNew);
    addUser(destination(), 1, L"D", kNewer);
    const Ended ended = quinrepJson(L"run", "run");
    EXPECT_EQ(ended.exitCode, kRecorded) << ended.output;
    EXPECT_EQ(ended.json()["tables"][0]["conflicts"], 1);
    EXPECT_THAT(ended.json()["recorded"].get<std::string>(), HasSubstr("Changed on both databases"));
}

TEST_F(Quinrep, FailedRunTellsErrorAndControlRecord)
{
    tables += "[[table]]\nname = \"no_such_table\"\nmethod = \"one_way\"\n";
    addUser(source(), 1, L"new", kNew);
    const std::wstring before = local().row(L"select last_timestamp from replication_control where unique_key = 0");
    const Ended ended = quinrepJson(L"run --force", "run");
    EXPECT_EQ(ended.exitCode, kFailed);
    const auto result = ended.json();
    EXPECT_EQ(result["tables"][0]["done"], true);
    EXPECT_EQ(result["tables"][1]["done"], false);
    EXPECT_EQ(result["connection_lost"], false);
    EXPECT_THAT(result["error"]["text"].get<std::string>(), HasSubstr("no_such_table"));
    EXPECT_EQ(recordedError().substr(0, 7), L"error: ");
    EXPECT_EQ(local().row(L"select last_timestamp from replication_control where unique_key = 0"), before);
}

TEST_F(Quinrep, SiteThatIsInErrorIsNotRunUntilTheErrorIsReset)
{
    source().execute(L"update replication_control set error_f = 1, error_message = 'trouble' where unique_key = 0");
    const Ended refused = quinrepJson(L"run", "failure");
    EXPECT_EQ(refused.exitCode, kNotReady);
    EXPECT_THAT(refused.messages, HasSubstr("the last run is in error: trouble"));
    EXPECT_EQ(quinrep(L"run --reset-error").exitCode, kDone);
}

TEST_F(Quinrep, ErrorOfASiteThatIsNotReadyIsNotClearedUnseen)
{
    source().execute(L"update replication_control set ready_f = 0, error_f = 1, error_message = 'trouble'");
    const Ended refused = quinrepJson(L"run --reset-error", "failure");
    EXPECT_EQ(refused.exitCode, kNotReady);
    EXPECT_THAT(refused.messages, HasSubstr("not marked ready"));
    EXPECT_EQ(recordedError(), L"error: trouble");
    EXPECT_EQ(quinrepJson(L"run --reset-error --ready", "run").json()["cleared"]["text"], "trouble");
}

TEST_F(Quinrep, SiteThatIsNotReadyIsNotRunUntilItIsMarked)
{
    source().execute(L"update replication_control set ready_f = 0");
    EXPECT_EQ(quinrep(L"run").exitCode, kNotReady);
    EXPECT_EQ(quinrep(L"run --ready").exitCode, kDone);
}

TEST_F(Quinrep, MissingControlRecordIsTold)
{
    source().execute(L"delete from replication_control where unique_key = 0");
    for (const wchar_t* command : {L"run", L"status", L"preview"}) {
        const Ended ended = quinrepJson(command, "failure");
        EXPECT_EQ(ended.exitCode, kNotReady);
        EXPECT_THAT(ended.messages, HasSubstr("replication_control"));
    }
}

TEST_F(Quinrep, WrongPasswordIsRefusedAndNeverShown)
{
    SetEnvironmentVariableW(L"QUINREP_WRONG", L"hunter2-secret");
    passwordSource = "env:QUINREP_WRONG";
    for (const wchar_t* command : {L"run", L"preview", L"status", L"conflicts list"}) {
        const Ended ended = quinrepJson(command, "failure");
        EXPECT_EQ(ended.exitCode, kFailed);
        EXPECT_THAT(ended.messages, HasSubstr("password is refused"));
        EXPECT_THAT(ended.messages + ended.output, Not(HasSubstr("hunter2")));
    }
    EXPECT_EQ(quinrep(L"check").exitCode, kNotReady);
    EXPECT_FALSE(logged(L"hunter2"));
}

TEST_F(Quinrep, SecondRunAtTheSameTimeIsRefused)
{
    const std::wstring name = L"Global\\quinrep-0-" + com::upperCase(host().sourceDsn);
    const HANDLE running = CreateMutexW(nullptr, TRUE, name.c_str());
    const Ended refused = quinrepJson(L"run", "failure");
    EXPECT_EQ(refused.exitCode, kNotReady);
    EXPECT_THAT(refused.messages, HasSubstr("another run of this site is going on"));
    ReleaseMutex(running);
    CloseHandle(running);
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
}

TEST_F(Quinrep, StatusTellsControlRecordCountersAndWaitingConflicts)
{
    addUser(source(), 1, L"S", kNew);
    addUser(destination(), 1, L"D", kNewer);
    quinrep(L"run");
    const Ended ended = quinrepJson(L"status", "status");
    EXPECT_EQ(ended.exitCode, kDone);
    EXPECT_EQ(ended.json()["control"]["error_f"], true);
    EXPECT_EQ(ended.json()["conflicts"][0]["table_name"], "users");
    EXPECT_FALSE(ended.json()["counts"].empty());
}

TEST_F(Quinrep, VerifyListsWhatDiffersColumnByColumn)
{
    addUser(source(), 1, L"same", kOld);
    addUser(destination(), 1, L"same", kOld);
    addUser(source(), 2, L"S", kOld);
    addUser(destination(), 2, L"D", kOld);
    addUser(source(), 3, L"lone", kOld);
    const Ended ended = quinrepJson(L"verify", "verify");
    EXPECT_EQ(ended.exitCode, kRecorded);
    EXPECT_EQ(ended.json()["tables"][0]["differing"], 2);
    EXPECT_THAT(quinrep(L"verify").output, HasSubstr("users 2: different\n    user_name: source 'S', destination 'D'\n"
                                                     "users 3: source only\n"));
}

TEST_F(Quinrep, VerifyThatFailsNamesTheTable)
{
    tables += "[[table]]\nname = \"no_such_table\"\nmethod = \"one_way\"\n";
    EXPECT_THAT(quinrepJson(L"verify", "failure").messages, HasSubstr("comparing table no_such_table in full: "));
}

TEST_F(Quinrep, RunThatFailsInAFullCopyNamesTheTableAndTellsTheLostRows)
{
    tables = "[[table]]\nname = \"users\"\nmethod = \"full_copy\"\n";
    addUser(source(), 1, L"twice", kNew);
    addUser(destination(), 1, L"once", kOld);
    const FailingRows refused(destination(), L"users", L"user_name = 'twice'");
    const Ended ended = quinrepJson(L"run --force", "run");
    EXPECT_EQ(ended.exitCode, kFailed);
    EXPECT_THAT(ended.json()["error"]["text"].get<std::string>(), testing::StartsWith("replicating table users: "));
    EXPECT_EQ(ended.json()["tables"][0]["deletes"], 1);
    EXPECT_EQ(destination().count(L"users"), 0);
}

TEST_F(Quinrep, RunEndsWithHowManyConflictsWaitAndHowToSeeThem)
{
    addUser(source(), 1, L"S", kNew);
    addUser(destination(), 1, L"D", kNewer);
    EXPECT_THAT(quinrep(L"run").output,
                HasSubstr("Conflicts that wait: 1, new: 1. Look at them with `quinrep review`"));
}

TEST_F(Quinrep, MistakesOnTheCommandLineAndInTheFileEndWithThree)
{
    EXPECT_EQ(quinrep(L"nonsense").exitCode, kUsage);
    EXPECT_EQ(quinrep(L"").exitCode, kUsage);
    EXPECT_EQ(QuinrepProcess(L"-c Z:/no/such.toml check").wait().exitCode, kUsage);
    tables = "[[table]]\nname = 7\n";
    const Ended ended = quinrep(L"check");
    EXPECT_EQ(ended.exitCode, kUsage);
    EXPECT_THAT(ended.messages, HasSubstr("table.name: expected a text"));
    EXPECT_THAT(ended.messages, HasSubstr("table.method is missing"));
    EXPECT_EQ(quinrep(L"--version").exitCode, kDone);
}

TEST_F(Quinrep, WatchRunsWhenDueAndNotBefore)
{
    addUser(source(), 1, L"new", kNew);
    QuinrepProcess watch(commandLine(L"run --watch --json"));
    for (int tenths = 0; tenths < 200 && destination().count(L"users") == 0; ++tenths)
        Sleep(100);
    EXPECT_THAT(users(destination()), testing::ElementsAre(L"1|new"));
    Sleep(3000);
    addUser(source(), 2, L"later", kNew);
    Sleep(3000);
    EXPECT_EQ(destination().count(L"users"), 1);
}
