#include "HostError.h"
#include "Quinrep.h"
#include "text.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr char kShortcutTable[] = "[[table]]\nname = \"shortcut\"\nmethod = \"one_way_deletes\"\n";
constexpr wchar_t kShortcut[] = L"{0F8FAD5B-D9CB-469F-A165-70867728950E}";

class ConflictsCommand : public Quinrep
{
protected:
    /// A run at the laptop that leaves one conflict: a shortcut that changed on both sides.
    void runIntoConflict()
    {
        runAt(LAPTOP);
        tables = kShortcutTable;
        addShortcut(source(), L"S", kNew);
        addShortcut(destination(), L"D", kNewer);
        EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
    }

    void addShortcut(const PracticeSide& side, const std::wstring& name, const std::wstring& modified)
    {
        side.execute(L"insert into shortcut (unid, item_name, mod_date) values ('" + std::wstring(kShortcut) + L"', '" +
                     name + L"', '" + modified + L"')");
    }

    /// Records the only conflict again, each time a day later.
    void repeat(int times)
    {
        for (int day = 1; day <= times; ++day)
            local().execute(L"insert into replication_conflict (unid, unique_key, last_replicate_date, table_name, "
                            L"patient_id, guid, conflict_type, key_info) select '{00000000-0000-0000-0000-00000000000" +
                            std::to_wstring(day) + L"}', 1, dateadd(s, " + std::to_wstring(day * 86400) +
                            L", max(last_replicate_date)), 'shortcut', 0, '" + kShortcut +
                            L"', 1, 'S' from replication_conflict; insert into replication_conflict_data select "
                            L"'{00000000-0000-0000-0000-"
                            L"00000000000" +
                            std::to_wstring(day) + L"}', 'item_name', 'S', 'D'");
    }

    /// Shortcuts that differ, each with that many conflicts of one differing column.
    void addManyConflicts(int rows, int records)
    {
        const auto guid = [](int kind, int row) {
            wchar_t text[40];
            swprintf(text, 40, L"{00000000-0000-0000-%04d-%012d}", kind, row);
            return std::wstring(text);
        };
        std::wstring shortcuts;
        std::wstring conflicts;
        std::wstring data;
        const auto add = [](std::wstring& list, const std::wstring& row) {
            list += (list.empty() ? L"" : L", ") + row;
        };
        for (int row = 0; row < rows; ++row) {
            add(shortcuts, L"('" + guid(0, row) + L"', 'row " + std::to_wstring(row) + L"', 'text')");
            for (int record = 1; record <= records; ++record) {
                add(conflicts, L"('" + guid(record, row) + L"', 1, '2025-03-0" + std::to_wstring(record) +
                                   L"', 'shortcut', 0, '" + guid(0, row) + L"', 1, 'row " + std::to_wstring(row) +
                                   L"', '2025-03-01', '2025-03-02')");
                add(data, L"('" + guid(record, row) + L"', 'item_text', 'text', 'D')");
            }
        }
        for (const PracticeSide* side : {&source(), &destination()}) {
            side->execute(L"delete from shortcut");
            side->execute(L"insert into shortcut (unid, item_name, item_text) values " + shortcuts);
        }
        destination().execute(L"update shortcut set item_text = 'D'");
        local().execute(L"insert into replication_conflict (unid, unique_key, last_replicate_date, table_name, "
                        L"patient_id, guid, conflict_type, key_info, source_mod_date, destination_mod_date) values " +
                        conflicts);
        local().execute(L"insert into replication_conflict_data values " + data);
    }

    std::wstring onlyConflict()
    {
        const Ended ended = quinrepJson(L"conflicts list", "list");
        EXPECT_EQ(ended.json()["conflicts"].size(), 1U) << ended.output;
        return toWide(ended.json()["conflicts"][0]["unid"].get<std::string>());
    }
};

} // namespace

TEST_F(ConflictsCommand, ListAndShowTellTheConflict)
{
    runIntoConflict();
    const Ended shown = quinrepJson(L"conflicts show " + onlyConflict(), "show");
    EXPECT_EQ(shown.json()["conflict"]["conflict"], "changed on both sides");
    EXPECT_EQ(shown.json()["conflict"]["columns"][0]["column"], "item_name");
    EXPECT_EQ(shown.json()["conflict"]["columns"][0]["source"], "S");
    EXPECT_EQ(shown.json()["conflict"]["columns"][0]["destination"], "D");
}

TEST_F(ConflictsCommand, UseSourceOverwritesTheDestination)
{
    runIntoConflict();
    const Ended ended = quinrepJson(L"conflicts resolve " + onlyConflict() + L" --use source", "resolve");
    EXPECT_EQ(ended.exitCode, kDone) << ended.output;
    EXPECT_EQ(ended.json()["resolved"][0]["settled"], true);
    EXPECT_EQ(destination().row(L"select item_name from shortcut"), L"S");
    EXPECT_EQ(local().count(L"replication_conflict"), 0);
}

TEST_F(ConflictsCommand, UseDestinationKeepsTheRowForAllOfATable)
{
    runIntoConflict();
    EXPECT_EQ(quinrepJson(L"conflicts resolve --all --table shortcut --use destination", "resolve").exitCode, kDone);
    EXPECT_EQ(destination().row(L"select item_name from shortcut"), L"D");
    EXPECT_EQ(local().count(L"replication_conflict"), 0);
}

TEST_F(ConflictsCommand, LaterLeavesItWaiting)
{
    runIntoConflict();
    EXPECT_EQ(quinrepJson(L"conflicts resolve --all --use later", "resolve").exitCode, kRecorded);
    EXPECT_EQ(local().count(L"replication_conflict"), 1);
}

TEST_F(ConflictsCommand, ConflictWithoutADateIsClosedLikeAnyOther)
{
    runIntoConflict();
    local().execute(L"update replication_conflict set source_mod_date = null, last_replicate_date = null");
    const std::wstring id = onlyConflict();
    EXPECT_EQ(quinrepJson(L"conflicts show " + id, "show").json()["conflict"]["source_mod_date"], nullptr);
    EXPECT_EQ(quinrepJson(L"conflicts resolve " + id + L" --use source", "resolve").exitCode, kDone);
    EXPECT_EQ(destination().row(L"select item_name from shortcut"), L"S");
    EXPECT_EQ(local().count(L"replication_conflict"), 0);
}

TEST_F(ConflictsCommand, RecordsOfOneRowAreOneEntryAndOneDecisionClosesAll)
{
    runIntoConflict();
    repeat(5);
    const auto entry = quinrepJson(L"conflicts list", "list").json()["conflicts"][0];
    EXPECT_EQ(entry["found"], 6);
    EXPECT_EQ(entry["ids"].size(), 6U);
    EXPECT_EQ(entry["state"], "waits");
    EXPECT_NE(entry["first_found"], entry["last_found"]);
    EXPECT_EQ(quinrepJson(L"conflicts resolve " + onlyConflict() + L" --use source", "resolve").exitCode, kDone);
    EXPECT_EQ(local().count(L"replication_conflict"), 0);
    EXPECT_EQ(local().count(L"replication_conflict_data"), 0);
}

TEST_F(ConflictsCommand, TodaysStateIsTold)
{
    runIntoConflict();
    const auto state = [this] {
        return quinrepJson(L"conflicts list", "list").json()["conflicts"][0]["state"].get<std::string>();
    };
    destination().execute(L"update shortcut set item_name = 'S', mod_date = '2026-01-01'");
    EXPECT_EQ(state(), "both sides are equal now");
    destination().execute(L"delete from shortcut");
    EXPECT_EQ(state(), "waits");
    source().execute(L"delete from shortcut");
    EXPECT_EQ(state(), "the row is on neither side");
    local().execute(L"update replication_conflict set table_name = 'no_such_table'");
    EXPECT_EQ(state(), "the row cannot be read");
    EXPECT_EQ(quinrep(L"conflicts dismiss --all --reason gone").exitCode, kDone);
    EXPECT_EQ(local().count(L"replication_conflict"), 0);
}

// By T-SQL's rules unid = '' compares as 0, so that a row 0 would go.
TEST_F(ConflictsCommand, NumericKeysAreNeverTakenFromTheSource)
{
    runAt(LAPTOP);
    addUser(source(), 1, L"S", kNew);
    addUser(destination(), 1, L"D", kNewer);
    addUser(destination(), 2, L"deleted at the office", kOld);
    EXPECT_EQ(quinrep(L"run --force").exitCode, kRecorded);
    const Ended ended = quinrepJson(L"conflicts resolve --all --use source", "resolve");
    EXPECT_EQ(ended.exitCode, kRecorded);
    for (const auto& entry : ended.json()["resolved"]) {
        EXPECT_EQ(entry["settled"], false);
        EXPECT_THAT(entry["refused"].get<std::string>(), HasSubstr("a table with numeric keys"));
    }
    EXPECT_THAT(users(destination()), ElementsAre(L"1|D", L"2|deleted at the office"));
    EXPECT_EQ(local().count(L"replication_conflict"), 2);
}

TEST_F(ConflictsCommand, RowThatTheSourceHasAgainIsNotDeleted)
{
    runAt(LAPTOP);
    tables = kShortcutTable;
    addShortcut(destination(), L"D", kOld);
    EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
    addShortcut(source(), L"back", kOld);
    const Ended ended = quinrepJson(L"conflicts resolve --all --use source", "resolve");
    EXPECT_THAT(ended.json()["resolved"][0]["refused"].get<std::string>(), HasSubstr("the source has the row again"));
    EXPECT_EQ(destination().count(L"shortcut"), 1);
    source().execute(L"delete from shortcut");
    EXPECT_EQ(quinrep(L"conflicts resolve --all --use source").exitCode, kDone);
    EXPECT_EQ(destination().count(L"shortcut"), 0);
}

TEST_F(ConflictsCommand, RowThatChangedSinceItWasFoundIsShownAndNotOverwrittenUnseen)
{
    runIntoConflict();
    destination().execute(L"update shortcut set item_text = 'an hour of typing'");
    const std::wstring id = onlyConflict();
    const Ended refused = quinrepJson(L"conflicts resolve " + id + L" --use source", "resolve");
    EXPECT_EQ(refused.exitCode, kRecorded);
    EXPECT_THAT(refused.json()["resolved"][0]["refused"].get<std::string>(), HasSubstr("no longer as it was found"));
    EXPECT_EQ(quinrepJson(L"conflicts resolve --all --use source --dry-run", "planned").exitCode, kRecorded);
    EXPECT_EQ(destination().row(L"select item_text from shortcut"), L"an hour of typing");
    EXPECT_EQ(quinrepJson(L"conflicts show " + id, "show").json()["conflict"]["changed_since"], true);
    EXPECT_THAT(quinrep(L"conflicts show " + id).output,
                HasSubstr("item_text: source Null, destination 'an hour of typing'"));
    EXPECT_EQ(quinrep(L"conflicts resolve " + id + L" --use source --changed-too").exitCode, kDone);
    EXPECT_EQ(destination().row(L"select item_name, item_text from shortcut"), L"S|<Null>");
    EXPECT_EQ(quinrepJson(L"conflicts log", "log").json()["decisions"][0]["lost_row"]["item_text"],
              "an hour of typing");
}

TEST_F(ConflictsCommand, KeyFieldThatIsUnidInCapitalsIsNoOtherKey)
{
    runIntoConflict();
    tables = "[[table]]\nname = 'shortcut'\nmethod = 'by_key'\nkey = 'UNID'\ndeletes = 'with_updates'\n";
    EXPECT_EQ(quinrep(L"conflicts resolve --all --use source").exitCode, kDone);
    EXPECT_EQ(destination().row(L"select item_name from shortcut"), L"S");
    EXPECT_EQ(local().count(L"replication_conflict"), 0);
}

TEST_F(ConflictsCommand, SideThatLackedTheRowHasNoDateAndNoValues)
{
    runAt(LAPTOP);
    tables = kShortcutTable;
    addShortcut(destination(), L"D", kOld);
    EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
    local().execute(L"update replication_conflict set source_mod_date = '2001-01-01'");
    const Ended shown = quinrepJson(L"conflicts show " + onlyConflict(), "show");
    EXPECT_EQ(shown.json()["conflict"]["source_mod_date"], nullptr);
    EXPECT_EQ(shown.json()["conflict"]["columns"][0]["source"], nullptr);
    EXPECT_THAT(quinrep(L"conflicts show " + onlyConflict()).output,
                AllOf(HasSubstr("changed at the source when it was found: it has no such row"),
                      HasSubstr("source no row, destination")));
}

TEST_F(ConflictsCommand, FiltersChooseAndUnknownOnesAreUsage)
{
    runIntoConflict();
    const auto listed = [this](const wchar_t* filter) {
        return quinrepJson(std::wstring(L"conflicts list ") + filter, "list").json()["conflicts"].size();
    };
    EXPECT_EQ(listed(L"--table SHORTCUT --kind changed_on_both --contains \"BOTH sides\" --before 2100-01-01"), 1U);
    EXPECT_EQ(listed(L"--kind deleted_on_source"), 0U);
    EXPECT_EQ(listed(L"--contains nothing"), 0U);
    EXPECT_EQ(listed(L"--before 2001-01-01"), 0U);
    for (const wchar_t* mistake : {L"--table users", L"--kind other", L"--before yesterday", L"--before 2026-02-30"})
        EXPECT_EQ(quinrep(L"conflicts list " + std::wstring(mistake)).exitCode, kUsage) << mistake;
    EXPECT_EQ(quinrep(L"conflicts log --before yesterday").exitCode, kUsage);
}

TEST_F(ConflictsCommand, DryRunCountsAndDoesNothing)
{
    runIntoConflict();
    const Ended source = quinrepJson(L"conflicts resolve --all --use source --dry-run", "planned");
    EXPECT_EQ(source.json()["counts"]["overwritten"], 1);
    const Ended kept = quinrepJson(L"conflicts resolve --all --use destination --dry-run", "planned");
    EXPECT_EQ(kept.json()["counts"]["kept"], 1);
    const Ended dismissed = quinrepJson(L"conflicts dismiss --all --reason why --dry-run", "planned");
    EXPECT_EQ(dismissed.json()["counts"]["dismissed"], 1);
    EXPECT_THAT(dismissed.json()["planned"][0]["would"].get<std::string>(), HasSubstr("The next run leaves the row"));
    EXPECT_EQ(local().count(L"replication_conflict"), 1);
    EXPECT_EQ(destination().row(L"select item_name from shortcut"), L"D");
    EXPECT_EQ(quinrep(L"conflicts log").output, "no decisions\n");
}

TEST_F(ConflictsCommand, DecisionIsLoggedWithTheRowThatItOverwrites)
{
    runIntoConflict();
    const std::wstring id = onlyConflict();
    EXPECT_EQ(quinrep(L"conflicts resolve " + id + L" --use source").exitCode, kDone);
    const auto decision = quinrepJson(L"conflicts log --table shortcut", "log").json()["decisions"][0];
    EXPECT_EQ(decision["choice"], "source");
    EXPECT_EQ(decision["kind"], "changed_on_both");
    EXPECT_EQ(decision["ids"][0], toUtf8(id));
    EXPECT_EQ(decision["lost_row"]["item_name"], "D");
    EXPECT_EQ(decision["outcome"], "settled");
    EXPECT_NE(decision["user"], "");
    EXPECT_EQ(decision["columns"][0]["column"], "item_name");
    EXPECT_EQ(quinrepJson(L"conflicts log --table users", "log").json()["decisions"].size(), 0U);
}

TEST_F(ConflictsCommand, LogThatCannotBeWrittenStopsTheDecision)
{
    runIntoConflict();
    const std::filesystem::path log = std::filesystem::path(host().logFile).replace_extension(L".decisions.jsonl");
    std::filesystem::remove(log);
    std::filesystem::create_directory(log);
    for (const wchar_t* command : {L"conflicts resolve --all --use source", L"conflicts dismiss --all --reason why"}) {
        const Ended ended = quinrepJson(command, "failure");
        EXPECT_EQ(ended.exitCode, kUsage);
        EXPECT_THAT(ended.messages, HasSubstr("cannot be written, so nothing is decided"));
    }
    std::filesystem::remove(log);
    EXPECT_EQ(local().count(L"replication_conflict"), 1);
    EXPECT_EQ(destination().row(L"select item_name from shortcut"), L"D");
}

TEST_F(ConflictsCommand, DecisionLogThatCannotBeReadIsNoEmptyLog)
{
    const std::filesystem::path log = std::filesystem::path(host().logFile).replace_extension(L".decisions.jsonl");
    std::filesystem::create_directory(log);
    EXPECT_EQ(quinrepJson(L"conflicts log", "failure").exitCode, kFailed);
    std::filesystem::remove(log);
}

TEST_F(ConflictsCommand, DecisionThatWasBrokenOffIsShownAsSuch)
{
    runIntoConflict();
    std::ofstream(std::filesystem::path(host().logFile).replace_extension(L".decisions.jsonl"))
        << R"({"time":"2026-01-01T00:00:00Z","user":"u","ids":["1"],"table":"shortcut","key":"k","key_info":"i",)"
        << R"("kind":"changed_on_both","choice":"source","reason":"","columns":[],"lost_row":{"item_name":"D"})";
    EXPECT_EQ(quinrep(L"conflicts dismiss --all --reason why").exitCode, kDone);
    const auto decisions = quinrepJson(L"conflicts log", "log").json()["decisions"];
    ASSERT_EQ(decisions.size(), 2U);
    EXPECT_EQ(decisions[0]["outcome"], "broken off");
    EXPECT_EQ(decisions[1]["outcome"], "dismissed");
}

TEST_F(ConflictsCommand, AtTheOfficesEveryChoiceSaysWhatTheNextRunDoes)
{
    tables = kShortcutTable;
    addShortcut(destination(), L"typed in", kNew);
    EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
    const auto choices = quinrepJson(L"conflicts show " + onlyConflict(), "show").json()["conflict"]["choices"];
    ASSERT_EQ(choices.size(), 3U);
    for (const auto& choice : choices)
        EXPECT_THAT(choice["explanation"].get<std::string>(),
                    HasSubstr("The next run deletes the row at the destination."));
    EXPECT_EQ(choices[0]["possible"], false);
    EXPECT_EQ(choices[1]["possible"], false);
}

// Six records of each of 500 rows are what a week of nights leaves. A step is to take less than a second on an idle
// machine; the times are told, not asserted.
TEST_F(ConflictsCommand, FiveHundredRowsOfSixRecordsAreListedFilteredAndClosed)
{
    runAt(LAPTOP);
    tables = kShortcutTable;
    addManyConflicts(500, 6);
    const auto seconds = [this](const std::wstring& command, const std::string& schema) {
        const ULONGLONG begin = GetTickCount64();
        const Ended ended = quinrepJson(command, schema);
        EXPECT_LE(ended.exitCode, kRecorded) << ended.messages;
        std::cout << toUtf8(command) << ": " << GetTickCount64() - begin << " ms\n";
        return ended.json();
    };
    EXPECT_EQ(seconds(L"conflicts list", "list")["conflicts"].size(), 500U);
    EXPECT_EQ(seconds(L"conflicts list --contains \"row 49\"", "list")["conflicts"].size(), 11U);
    EXPECT_EQ(seconds(L"conflicts resolve --all --contains \"row 1\" --use source", "resolve")["counts"]["overwritten"],
              111);
    EXPECT_EQ(seconds(L"conflicts resolve --all --use destination", "resolve")["counts"]["kept"], 389);
    addManyConflicts(500, 6);
    EXPECT_EQ(seconds(L"conflicts dismiss --all --reason why", "resolve")["counts"]["dismissed"], 500);
    EXPECT_EQ(local().count(L"replication_conflict"), 0);
    EXPECT_EQ(local().count(L"replication_conflict_data"), 0);
}

TEST_F(ConflictsCommand, UnknownConflictAndMissingChoiceAreUsage)
{
    for (const wchar_t* mistake :
         {L"show {00000000-0000-0000-0000-000000000000}", L"resolve --use source", L"resolve --all",
          L"resolve --all --use nothing", L"resolve {00000000-0000-0000-0000-000000000000} --use source",
          L"dismiss --all", L"dismiss --all --reason \" \"", L"dismiss --reason why"})
        EXPECT_EQ(quinrep(L"conflicts " + std::wstring(mistake)).exitCode, kUsage) << mistake;
}
