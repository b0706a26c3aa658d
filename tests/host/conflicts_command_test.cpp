// `quinrep conflicts` lists, decides and logs, and changes rows. choices_test has the choices for each row.
#include "Quinrep.h"

#include "support/Sabotage.h"
#include "text.h"

#include <fstream>

using testing::AllOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

class ConflictsCommand : public Quinrep
{
protected:
    void SetUp() override
    {
        Quinrep::SetUp();
        runAt(LAPTOP);
        tables = tableSection("shortcut", "one_way_deletes");
    }

    static std::wstring recordId(int number, int run = 1)
    {
        return L"{00000000-0000-0000-000" + std::to_wstring(run) + L"-00000000000" + std::to_wstring(number) + L"}";
    }

    /// A record of a run in March, by the values of patient_id and guid.
    void addRecord(const std::wstring& id, int day, const std::wstring& table, const std::wstring& keys, long kind)
    {
        local().execute(L"insert into replication_conflict (unid, unique_key, last_replicate_date, table_name, "
                        L"patient_id, guid, conflict_type, key_info, source_mod_date, destination_mod_date) values ('" +
                        id + L"', 1, '2025-03-1" + std::to_wstring(day) + L"', '" + table + L"', " + keys + L", " +
                        std::to_wstring(kind) + L", 'Recall', '" + kNew + L"', '" + kNewer + L"')");
        local().execute(L"insert into replication_conflict_data values ('" + id + L"', 'item_text', 'S', 'D')");
    }

    /// A shortcut that is "S" at the source, unless it was deleted there, and "D" at the destination, as so many runs
    /// have found.
    void addConflict(int number, enumConflictType kind = CHANGED_ON_BOTH, int runs = 1)
    {
        if (kind != DELETED_ON_SOURCE)
            addShortcut(source(), number, L"S", kNew);
        addShortcut(destination(), number, L"D", kNewer);
        for (int run = 1; run <= runs; ++run)
            addRecord(recordId(number, run), run, L"shortcut", L"0, '" + shortcutKey(number) + L"'", kind);
    }

    long recordCount() const { return local().count(L"replication_conflict"); }

    json shown() { return quinrepJson(L"conflicts show " + recordId(1), "show").result()["conflict"]; }

    json decisions(const std::wstring& filter = L"")
    {
        return quinrepJson(L"conflicts log" + filter, "log").result()["decisions"];
    }

    /// Why the only row's conflict was not settled.
    std::string refusal(const std::wstring& arguments)
    {
        const Ended ended = quinrepJson(L"conflicts resolve " + arguments, "resolve");
        EXPECT_EQ(ended.exitCode, kRecorded);
        EXPECT_EQ(ended.result()["resolved"][0]["settled"], false);
        return ended.result()["resolved"][0]["refused"];
    }
};

} // namespace

TEST_F(ConflictsCommand, RecordsOfOneRowAreOneEntryAndOneDecisionClosesAll)
{
    addConflict(1, CHANGED_ON_BOTH, 3);
    addConflict(2);
    const json entry = quinrepJson(L"conflicts list", "list").result()["conflicts"][0];
    EXPECT_EQ(entry["unid"], toUtf8(recordId(1, 3)));
    EXPECT_EQ(entry["found"], 3);
    EXPECT_EQ(entry["ids"].size(), 3U);
    EXPECT_EQ(entry["conflict"], "changed on both sides");
    EXPECT_NE(entry["first_found"], entry["last_found"]);
    EXPECT_EQ(shown()["columns"], json({{{"column", "item_text"}, {"source", "S"}, {"destination", "D"}}}));
    EXPECT_EQ(quinrepJson(L"conflicts resolve --all --use later", "resolve").exitCode, kRecorded);
    EXPECT_EQ(recordCount(), 4);
    const Ended ended = quinrepJson(L"conflicts resolve " + recordId(1) + L" --use destination", "resolve");
    EXPECT_EQ(ended.exitCode, kDone) << ended.output;
    EXPECT_EQ(ended.result()["resolved"][0]["settled"], true);
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"D", L"D"));
    EXPECT_EQ(recordCount(), 1);
    EXPECT_EQ(local().count(L"replication_conflict_data"), 1);
}

TEST_F(ConflictsCommand, UseOfTheSourceOverwritesTheRowAndLogsIt)
{
    addConflict(1);
    local().execute(L"update replication_conflict set source_mod_date = null, last_replicate_date = null");
    EXPECT_EQ(shown()["source_mod_date"], nullptr);
    EXPECT_EQ(quinrepJson(L"conflicts resolve --all --table shortcut --use source", "resolve").exitCode, kDone);
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"S"));
    EXPECT_EQ(recordCount(), 0);
    const json decision = decisions(L" --table shortcut")[0];
    EXPECT_EQ(decision["choice"], "source");
    EXPECT_EQ(decision["kind"], "changed_on_both");
    EXPECT_EQ(decision["ids"], json({toUtf8(recordId(1))}));
    EXPECT_EQ(decision["lost_row"]["item_text"], "D");
    EXPECT_EQ(decision["outcome"], "settled");
    EXPECT_NE(decision["user"], "");
    EXPECT_EQ(decision["columns"][0]["column"], "item_text");
    EXPECT_EQ(decisions(L" --contains nothing").size(), 0U);
}

TEST_F(ConflictsCommand, ListTellsTodaysStateAndTakesFilters)
{
    for (int number = 1; number <= 4; ++number)
        addConflict(number);
    destination().execute(L"update shortcut set item_text = 'S' where unid = '" + shortcutKey(1) + L"'");
    for (const PracticeSide* side : {&source(), &destination()})
        side->execute(L"delete from shortcut where unid = '" + shortcutKey(3) + L"'");
    local().execute(L"update replication_conflict set table_name = 'no_such_table' where guid = '" + shortcutKey(4) +
                    L"'");
    std::vector<std::string> states;
    const json list = quinrepJson(L"conflicts list", "list").result()["conflicts"];
    for (const json& conflict : list)
        states.push_back(conflict["state"]);
    EXPECT_THAT(states, ElementsAre("the row cannot be read", "both sides are equal now", "waits",
                                    "the row is on neither side"));
    const Ended filtered = quinrepJson(
        L"conflicts list --table SHORTCUT --kind changed_on_both --contains RECALL --before 2100-01-01", "list");
    EXPECT_EQ(filtered.result()["conflicts"].size(), 3U);
    EXPECT_EQ(quinrep(L"conflicts dismiss --all --reason gone").exitCode, kDone);
    EXPECT_EQ(recordCount(), 0);
}

// By T-SQL's rules unid = '' compares as 0, so that a row 0 would go.
TEST_F(ConflictsCommand, NumericKeysAreNeverTakenFromTheSource)
{
    addUser(source(), 1, L"S", kNew);
    addUser(destination(), 1, L"D", kNewer);
    addUser(destination(), 2, L"deleted at the office", kOld);
    addRecord(recordId(1), 1, L"users", L"1, null", CHANGED_ON_BOTH);
    addRecord(recordId(2), 1, L"users", L"2, null", DELETED_ON_SOURCE);
    EXPECT_THAT(refusal(L"--all --use source"), HasSubstr("a table with numeric keys"));
    EXPECT_EQ(recordCount(), 2);
    EXPECT_EQ(quinrep(L"conflicts resolve --all --use destination").exitCode, kDone);
    EXPECT_EQ(recordCount(), 0);
    EXPECT_THAT(users(destination()), ElementsAre(L"1|D", L"2|deleted at the office"));
}

TEST_F(ConflictsCommand, RowIsDeletedUnlessTheSourceHasItAgain)
{
    addConflict(1, DELETED_ON_SOURCE);
    const json conflict = shown();
    EXPECT_EQ(conflict["source_mod_date"], nullptr);
    EXPECT_EQ(conflict["columns"][0]["source"], nullptr);
    addShortcut(source(), 1, L"back", kOld);
    EXPECT_THAT(refusal(L"--all --use source"), HasSubstr("the source has the row again"));
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"D"));
    source().execute(L"delete from shortcut");
    EXPECT_EQ(quinrep(L"conflicts resolve --all --use source").exitCode, kDone);
    EXPECT_THAT(shortcuts(destination()), IsEmpty());
}

TEST_F(ConflictsCommand, RowIsNotDeletedAsLongAsRowsOfOtherTablesWouldGoWithIt)
{
    addConflict(1, DELETED_ON_SOURCE);
    const std::wstring type = isPostgreSql() ? L"uuid" : L"uniqueidentifier";
    const Sabotage sheet(destination(),
                         L"create table sheet (shortcut " + type +
                             L" references shortcut (unid) on delete cascade); insert into sheet values ('" +
                             shortcutKey(1) + L"')",
                         L"drop table sheet");
    EXPECT_THAT(refusal(L"--all --use source"),
                AllOf(StartsWith("At the destination sheet refers in 1 of its rows to rows of shortcut that would be "
                                 "deleted (foreign key "),
                      HasSubstr("Look at these rows of sheet there: let them refer to another row of shortcut, or "
                                "delete those that nobody needs.")));
    EXPECT_EQ(destination().count(L"sheet"), 1);
    destination().execute(L"delete from sheet");
    EXPECT_EQ(quinrep(L"conflicts resolve --all --use source").exitCode, kDone);
    EXPECT_THAT(shortcuts(destination()), IsEmpty());
}

TEST_F(ConflictsCommand, RowThatChangedSinceItWasFoundIsShownAndNotOverwrittenUnseen)
{
    addConflict(1);
    destination().execute(L"update shortcut set item_text = 'an hour of typing'");
    EXPECT_THAT(refusal(recordId(1) + L" --use source"), HasSubstr("no longer as it was found"));
    const Ended planned = quinrepJson(L"conflicts resolve --all --use source --dry-run", "planned");
    EXPECT_EQ(planned.exitCode, kRecorded);
    EXPECT_EQ(planned.result()["counts"]["waiting"], 1);
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"an hour of typing"));
    const json conflict = shown();
    EXPECT_EQ(conflict["changed_since"], true);
    EXPECT_EQ(conflict["today"][0]["destination"], "an hour of typing");
    EXPECT_EQ(quinrep(L"conflicts resolve --all --use source --changed-too").exitCode, kDone);
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"S"));
    EXPECT_EQ(decisions()[0]["lost_row"]["item_text"], "an hour of typing");
}

TEST_F(ConflictsCommand, KeyFieldThatIsUnidInCapitalsIsNoOtherKey)
{
    addConflict(1);
    tables = tableSection("shortcut", "by_key", "key = 'UNID'\ndeletes = 'with_updates'");
    EXPECT_EQ(quinrep(L"conflicts resolve --all --use source").exitCode, kDone);
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"S"));
}

TEST_F(ConflictsCommand, DryRunCountsAndDoesNothing)
{
    addConflict(1);
    const Ended resolved = quinrepJson(L"conflicts resolve --all --use source --dry-run", "planned");
    EXPECT_EQ(resolved.exitCode, kDone);
    EXPECT_EQ(resolved.result()["counts"]["overwritten"], 1);
    const json dismissed = quinrepJson(L"conflicts dismiss --all --reason why --dry-run", "planned").result();
    EXPECT_EQ(dismissed["counts"]["dismissed"], 1);
    EXPECT_EQ(dismissed["planned"][0]["would"], "Takes the conflict off the list and changes no row. "
                                                "The next run reports the row again and leaves it as it is.");
    EXPECT_EQ(recordCount(), 1);
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"D"));
    EXPECT_EQ(decisions().size(), 0U);
}

TEST_F(ConflictsCommand, DecisionLogThatCannotBeUsedStopsTheDecisionAndIsNoEmptyLog)
{
    addConflict(1);
    std::filesystem::create_directory(decisionLog());
    for (const wchar_t* command : {L"conflicts resolve --all --use source", L"conflicts dismiss --all --reason why"}) {
        const Ended ended = quinrepJson(command, "failure");
        EXPECT_EQ(ended.exitCode, kUsage);
        EXPECT_THAT(ended.messages, HasSubstr("cannot be written, so nothing is decided"));
    }
    EXPECT_EQ(quinrepJson(L"conflicts log", "failure").exitCode, kFailed);
    std::filesystem::remove(decisionLog());
    EXPECT_EQ(recordCount(), 1);
    EXPECT_THAT(shortcuts(destination()), ElementsAre(L"D"));
}

TEST_F(ConflictsCommand, DecisionThatWasBrokenOffIsShownAsSuch)
{
    addConflict(1);
    std::ofstream(decisionLog())
        << R"({"time":"2026-01-01T00:00:00Z","user":"u","ids":["1"],"table":"shortcut","key":"k","key_info":"i",)"
        << R"("kind":"changed_on_both","choice":"source","reason":"","columns":[],"lost_row":{"item_text":"D"})";
    EXPECT_EQ(quinrep(L"conflicts dismiss --all --reason why").exitCode, kDone);
    const json logged = decisions();
    ASSERT_EQ(logged.size(), 2U);
    EXPECT_EQ(logged[0]["outcome"], "broken off");
    EXPECT_EQ(logged[1]["outcome"], "dismissed");
}

TEST_F(ConflictsCommand, UnknownConflictsAndTablesAreMistakesOfUsage)
{
    const std::wstring unknown = recordId(9);
    for (const std::wstring& mistake : {std::wstring(L"show 7"), L"show " + unknown, L"resolve --use source " + unknown,
                                        std::wstring(L"list --table users")})
    {
        const Ended ended = quinrepJson(L"conflicts " + mistake, "failure");
        EXPECT_EQ(ended.exitCode, kUsage) << toUtf8(mistake);
        EXPECT_THAT(ended.messages, HasSubstr("there is no "));
    }
    for (const wchar_t* command : {L"list", L"log"})
        EXPECT_THAT(quinrep(std::wstring(L"conflicts ") + command + L" --table shorcut").messages,
                    HasSubstr("there is no table \"shorcut\" in the configuration or the conflicts; did you mean "
                              "\"shortcut\"?"));
}
