// The actions and reports of `quinrep run`, `status` and `verify`, and the sites that are not run.
#include "Quinrep.h"

#include "support/Sabotage.h"

using testing::ElementsAre;
using testing::StartsWith;

TEST_F(Quinrep, RunCopiesAndTellsEachTable)
{
    addUser(source(), 1, L"new", kNew);
    const Ended ended = quinrepJson(L"run", "run");
    EXPECT_EQ(ended.exitCode, kDone) << ended.messages;
    EXPECT_EQ(ended.result()["tables"][0]["adds"], 1);
    EXPECT_THAT(users(destination()), ElementsAre(L"1|new"));
    EXPECT_THAT(ended.messages, StartsWith("[1/1] users running ("));
    EXPECT_THAT(ended.messages, HasSubstr(" s)\n[1/1] users done ("));
    EXPECT_EQ(quinrep(L"-q run --ready").messages, "");
}

TEST_F(Quinrep, RunWithAConflictEndsWithTwoAndStatusTellsIt)
{
    addUser(source(), 1, L"S", kNew);
    addUser(destination(), 1, L"D", kNewer);
    const Ended ended = quinrepJson(L"run", "run");
    EXPECT_EQ(ended.exitCode, kRecorded) << ended.output;
    EXPECT_EQ(ended.result()["tables"][0]["conflicts"], 1);
    EXPECT_EQ(ended.result()["conflicts_waiting"], 1);
    EXPECT_EQ(ended.result()["conflicts_new"], 1);
    EXPECT_THAT(ended.result()["recorded"].get<std::string>(), HasSubstr("Changed on both databases"));
    EXPECT_EQ(ended.result()["holds_next_run"], true);
    const Ended status = quinrepJson(L"status", "status");
    EXPECT_EQ(status.exitCode, kDone);
    EXPECT_EQ(status.result()["control"]["error_f"], true);
    EXPECT_EQ(status.result()["conflicts"][0]["table_name"], "users");
    EXPECT_EQ(status.result()["tables"][0]["conflicts"], 1);
}

TEST_F(Quinrep, FailedRunTellsErrorAndControlRecord)
{
    tables += tableSection("no_such_table", "one_way");
    addUser(source(), 1, L"new", kNew);
    const Ended ended = quinrepJson(L"run --force", "run");
    EXPECT_EQ(ended.exitCode, kFailed);
    const json result = ended.result();
    EXPECT_EQ(result["tables"][0]["done"], true);
    EXPECT_EQ(result["tables"][1]["done"], false);
    EXPECT_EQ(result["connection_lost"], false);
    EXPECT_THAT(result["error"]["text"].get<std::string>(), HasSubstr("no_such_table"));
    EXPECT_THAT(recordedError(), StartsWith(L"error: "));
    EXPECT_EQ(local().row(L"select last_timestamp from replication_control where unique_key = 0"),
              L"2025-03-10 12:00:00.000");
}

// The error is recorded where the local database can be written, and told with what to do in any case.
TEST_F(Quinrep, ReadOnlyDatabaseIsToldWithWhatToDo)
{
    addUser(source(), 1, L"new", kNew);
    for (const PracticeSide* side : {&destination(), &source()}) {
        std::optional<Sabotage> readOnly;
        if (!tryOrSkip(L"read-only databases", [&] { readOnly.emplace(*side, readOnlyDatabase()); }))
            return;
        const Ended ended = quinrepJson(L"-q run", "run");
        EXPECT_EQ(ended.exitCode, kFailed) << ended.output;
        EXPECT_THAT(ended.result()["error"]["todo"].get<std::string>(), HasSubstr("make it writable again"));
        readOnly.reset();
        EXPECT_THAT(recordedError(), side == &destination() ? StartsWith(L"error: ") : StartsWith(L"none"));
        source().execute(L"update replication_control set error_f = 0, error_message = null");
    }
    EXPECT_EQ(quinrep(L"-q run").exitCode, kDone);
    EXPECT_THAT(users(destination()), ElementsAre(L"1|new"));
}

TEST_F(Quinrep, RunThatFailsInAFullCopyNamesTheTableAndTellsTheLostRows)
{
    tables = tableSection("users", "full_copy");
    addUser(source(), 1, L"twice", kNew);
    addUser(destination(), 1, L"once", kOld);
    const FailingRows refused(destination(), L"users", L"user_name = 'twice'");
    const Ended ended = quinrepJson(L"run --force", "run");
    EXPECT_EQ(ended.exitCode, kFailed);
    EXPECT_THAT(ended.result()["error"]["text"].get<std::string>(), StartsWith("replicating table users: "));
    EXPECT_EQ(ended.result()["tables"][0]["deletes"], 1);
    EXPECT_EQ(destination().count(L"users"), 0);
}

TEST_F(Quinrep, SiteIsRunOnceItIsMarkedReadyAndItsErrorIsReset)
{
    source().execute(L"update replication_control set ready_f = 0, error_f = 1, error_message = 'trouble'");
    const auto expectRefusal = [this](const wchar_t* arguments, const char* message) {
        const Ended refused = quinrepJson(arguments, "failure");
        EXPECT_EQ(refused.exitCode, kNotReady);
        EXPECT_THAT(refused.messages, HasSubstr(message));
        EXPECT_EQ(recordedError(), L"error: trouble");
    };
    constexpr char kBothAndOneCommand[] = "the site is not marked ready for a run, and the last run is in error: "
                                          "trouble\n  Look at it with `quinrep status`, and at the conflicts with "
                                          "`quinrep review`. Once it is understood, `quinrep run --ready "
                                          "--reset-error` begins.\n";
    expectRefusal(L"run", kBothAndOneCommand);
    expectRefusal(L"copy", "`quinrep copy --ready --reset-error` begins.\n");
    expectRefusal(L"run --reset-error", "the site is not marked ready for a run\n  `quinrep run --ready --reset-error` "
                                        "marks it and begins.\n");
    expectRefusal(L"run --ready", "quinrep: the last run is in error: trouble\n");
    expectRefusal(L"run", "Once it is understood, `quinrep run --reset-error` begins.\n");
    source().execute(L"update replication_control set ready_f = 0");
    const Ended ended = quinrepJson(L"run --reset-error --ready", "run");
    EXPECT_EQ(ended.exitCode, kDone);
    EXPECT_EQ(ended.result()["cleared"]["text"], "trouble");
    const Ended refused = quinrep(L"run");
    EXPECT_EQ(refused.exitCode, kNotReady) << "a run takes the mark away";
    EXPECT_THAT(refused.messages, HasSubstr("the site is not marked ready for a run\n  `quinrep run --ready` marks it "
                                            "and begins.\n"));
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

// Between two runs the watch pauses for a second, and only then looks whether the next is due.
TEST_F(Quinrep, WatchRunsWhenDueAndNotBefore)
{
    addUser(source(), 1, L"new", kNew);
    ChildProcess watch(commandLine(L"run --watch --ready"));
    for (int tries = 0; tries < 400 && destination().count(L"users") == 0; ++tries)
        Sleep(50);
    addUser(source(), 2, L"later", L"2100-01-01");
    Sleep(3500);
    EXPECT_THAT(users(destination()), ElementsAre(L"1|new"));
}

TEST_F(Quinrep, VerifyListsRowsAndColumnsThatDiffer)
{
    for (const PracticeSide* side : {&source(), &destination()})
        addUsers(*side, 1, 2);
    changeUser(source(), 2, L"S", kOld);
    addUser(source(), 3, L"lone", kOld);
    const Ended ended = quinrepJson(L"verify", "verify");
    EXPECT_EQ(ended.exitCode, kRecorded);
    const json table = ended.result()["tables"][0];
    EXPECT_EQ(table["differing"], 2);
    EXPECT_EQ(table["rows"][0],
              json({{"key", "2"},
                    {"what", "different"},
                    {"columns", {{{"column", "user_name"}, {"source", "S"}, {"destination", "user"}}}}}));
    EXPECT_EQ(table["rows"][1], json({{"key", "3"}, {"what", "source only"}}));
}

TEST_F(Quinrep, VerifyTakesSomeTablesAndListsTheFirstHundredRowsOrAll)
{
    tables += tableSection("shortcut", "one_way");
    addUsers(source(), 1, 102);
    addShortcut(source(), 1, L"lone", kOld);
    const json all = quinrepJson(L"verify", "verify").result()["tables"];
    EXPECT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0]["differing"], 102);
    EXPECT_EQ(all[0]["rows"].size(), 100U);
    const json users = quinrepJson(L"verify --all --table USERS", "verify").result()["tables"];
    EXPECT_EQ(users.size(), 1U);
    EXPECT_EQ(users[0]["rows"].size(), 102U);
    EXPECT_EQ(quinrepJson(L"verify --table users --table shortcut", "verify").result()["tables"], all);
    EXPECT_THAT(quinrep(L"verify").output, HasSubstr("users: 2 more (--all lists them)\nshortcut "));
    const Ended mistaken = quinrepJson(L"verify --table shorcut", "failure");
    EXPECT_EQ(mistaken.exitCode, kUsage);
    EXPECT_EQ(mistaken.result()["error"]["text"],
              "there is no table \"shorcut\" in the configuration; did you mean \"shortcut\"?");
    EXPECT_EQ(mistaken.result()["error"]["todo"], "It lists users, shortcut.");
}

// A full copy needs no key, so verify may not ask for one.
TEST_F(Quinrep, VerifyComparesATableWithoutAKeyByWholeRows)
{
    tables = tableSection("replication_counts", "full_copy");
    const std::wstring insert = L"insert into replication_counts (unique_key, count_name, count_value) values ";
    source().execute(insert + L"(0, 'same', 1), (0, 'twice', 2), (0, 'twice', 2)");
    destination().execute(insert + L"(0, 'same', 1), (0, 'twice', 2)");
    const json table = quinrepJson(L"verify", "verify").result()["tables"][0];
    EXPECT_EQ(table["source_rows"], 3);
    EXPECT_EQ(table["differing"], 1);
    EXPECT_EQ(table["rows"][0]["what"], "source only");
}

TEST_F(Quinrep, VerifyThatFailsNamesTheTable)
{
    tables = tableSection("no_such_table", "one_way");
    EXPECT_THAT(quinrepJson(L"verify", "failure").messages, HasSubstr("comparing table no_such_table in full: "));
}
