// The guards that stop a run before it begins, their reports of the rows, and the options that let the run go on.
#include "Quinrep.h"

#include "support/Sabotage.h"
#include "text.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Pair;

namespace {

class StoppedRun : public Quinrep
{
protected:
    /// Old users on both sides, of which the source lacks the first.
    void addUsersOfBoth(int all, int lost)
    {
        addUsers(destination(), 1, all);
        addUsers(source(), lost + 1, all);
    }

    /// The stops of a run, which writes nothing.
    json stopsOf(const std::wstring& command)
    {
        const std::wstring before = controlRecord();
        const Ended ended = quinrepJson(command, "preview");
        EXPECT_EQ(ended.exitCode, kGuarded) << ended.messages;
        EXPECT_EQ(controlRecord(), before);
        return ended.result()["stops"];
    }
};

} // namespace

TEST_F(StoppedRun, WritesNothingNamesTableAndRowsAndGoesOnWhenForced)
{
    addUsersOfBoth(10, 3);
    const json preview = quinrepJson(L"preview", "preview").result();
    const json stops = stopsOf(L"run");
    EXPECT_EQ(stops, preview["stops"]);
    ASSERT_EQ(stops.size(), 1U);
    EXPECT_EQ(stops[0]["reason"], "deletes");
    EXPECT_EQ(stops[0]["table"], "users");
    EXPECT_EQ(stops[0]["rows"].size(), 3U);
    EXPECT_EQ(stops[0]["rows"][0], json({{"key", "1"}, {"key_info", "user"}}));
    EXPECT_THAT(stops[0]["text"].get<std::string>(),
                HasSubstr("3 of 10 rows of the destination would be deleted, 20 % may be"));
    EXPECT_EQ(destination().count(L"users"), 10);
    const Ended forced = quinrepJson(L"run --force", "run");
    EXPECT_EQ(forced.exitCode, kDone);
    EXPECT_EQ(forced.result()["passed"], stops);
    EXPECT_EQ(destination().count(L"users"), 7);
}

TEST_F(StoppedRun, ListsAllRowsAndDescribesTheFirstHundred)
{
    addUsersOfBoth(102, 101);
    const json rows = stopsOf(L"preview")[0]["rows"];
    ASSERT_EQ(rows.size(), 101U);
    EXPECT_EQ(rows[99]["key_info"], "user");
    EXPECT_EQ(rows[100], json({{"key", "101"}, {"key_info", ""}}));
}

TEST_F(StoppedRun, IsNotOneThatDeletesTheAllowedShareAndNamesTheRows)
{
    addUsersOfBoth(10, 2);
    const json said = quinrepJson(L"preview", "preview").result();
    EXPECT_EQ(said["stops"].size(), 0U);
    EXPECT_EQ(said["deleted_rows"][0], json({{"key", "1"}, {"key_info", "user"}, {"table", "users"}}));
    const Ended ended = quinrepJson(L"run", "run");
    EXPECT_EQ(ended.exitCode, kDone);
    EXPECT_EQ(ended.result()["tables"][0]["deletes"], 2);
    EXPECT_EQ(ended.result()["deleted_rows"], said["deleted_rows"]);
    EXPECT_EQ(destination().count(L"users"), 8);
}

TEST_F(StoppedRun, IsNotOneOfATableThatMayLoseAndChangeMore)
{
    addUsersOfBoth(10, 3);
    for (int key = 4; key <= 9; ++key)
        changeUser(source(), key, L"changed", kNew);
    tables = tableSection("users", "one_way_deletes", "max_delete = 30");
    const json stops = stopsOf(L"run");
    ASSERT_EQ(stops.size(), 1U);
    EXPECT_EQ(stops[0]["reason"], "updates");
    EXPECT_EQ(stops[0]["rows"].size(), 6U);
    EXPECT_THAT(stops[0]["text"].get<std::string>(),
                HasSubstr("6 of 10 rows of the destination would be overwritten, 50 %"));
    tables += "max_update = 60\n";
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
}

TEST_F(StoppedRun, IsThatOfAFullCopyThatEmptiesOrReplacesATable)
{
    tables = tableSection("users", "full_copy") + tableSection("shortcut", "full_copy") +
             tableSection("computer_type", "computer_type");
    addUsers(destination(), 1, 1);
    addShortcut(source(), 1, L"old sheet", kOld);
    addShortcut(destination(), 1, L"this year", kNew);
    const std::wstring type = L"('{7C9E6679-7425-40DE-944B-E07FC1F90AE7}', 'desk')";
    for (const PracticeSide* side : {&source(), &destination()})
        side->execute(L"insert into computer_type (unid, type_name) values " + type);
    destination().execute(L"insert into computer_type_setting (computer_type_id, setting_name) values " + type);
    std::vector<std::pair<std::string, std::string>> reasons;
    const json stops = stopsOf(L"run");
    for (const json& stop : stops)
        reasons.emplace_back(stop["table"], stop["reason"]);
    EXPECT_THAT(reasons, ElementsAre(Pair("users", "deletes"), Pair("shortcut", "updates"),
                                     Pair("computer_type_setting", "deletes")));
}

// At the office a second laptop's runs move the only interval.
TEST_F(StoppedRun, IsThatOfRowsOverWhichSomethingElseHasMovedTheInterval)
{
    const auto lastTimestamp = [this] {
        return local().row(L"select last_timestamp from replication_control where unique_key = 0");
    };
    addUsers(source(), 1, 2);
    addUsers(destination(), 1, 2);
    ASSERT_EQ(quinrep(L"run --ready").exitCode, kDone);
    const std::wstring left = lastTimestamp();
    changeUser(source(), 1, L"changed at the office", L"2098-01-01T08:00:00");
    addUser(destination(), 3, L"typed in at the laptop", L"2098-01-01T09:00:00");
    addUser(source(), 4, L"of both", L"2098-01-01T10:00:00");
    addUser(destination(), 4, L"of both", L"2098-01-01T10:00:00");
    local().execute(L"update replication_control set last_timestamp = '2098-02-01T00:00:00' where unique_key = 0");
    const json stops = stopsOf(L"run");
    ASSERT_EQ(stops[0]["reason"], "interval");
    EXPECT_EQ(stops[0]["rows"][0]["key"], "1");
    EXPECT_EQ(stops[0]["rows"][1]["key"], "3");
    EXPECT_EQ(stops[0]["rows"].size(), 2U);

    const std::string text = stops[0]["text"];
    const size_t begin = text.find("update replication_control");
    local().execute(toWide(text.substr(begin, text.find(". ", begin) - begin)));
    EXPECT_EQ(lastTimestamp(), left);
    EXPECT_EQ(quinrep(L"run --ready").exitCode, kRecorded);
    EXPECT_EQ(users(destination())[0], L"1|changed at the office");
    EXPECT_THAT(users(destination()), Contains(L"3|typed in at the laptop"));
}

// A full copy would empty the destination's table and fill it from itself, which the source's prefix names.
TEST_F(StoppedRun, PrefixesOfTheOtherSidesDatabaseAreRefused)
{
    tables = tableSection("users", "full_copy");
    for (const PracticeSide* side : {&source(), &destination()})
        addUsers(*side, 1, 1);
    std::swap(host().sourcePrefix, host().destinationPrefix);
    const Ended ended = quinrepJson(L"run --force", "failure");
    EXPECT_EQ(ended.exitCode, kUsage);
    EXPECT_THAT(ended.messages, HasSubstr("names the other side's database"));
    EXPECT_EQ(quinrep(L"check").exitCode, kNotReady);
    EXPECT_EQ(source().count(L"users"), 1);
    EXPECT_EQ(destination().count(L"users"), 1);
}

TEST_F(StoppedRun, IsThatOfTwoWayNoticesWhereNobodyAttends)
{
    tables = tableSection("procs", "two_way", "max_update = 100");
    source().execute(L"insert into procs (unid, proc_name, mod_date) values (1, 'S', '2025-03-11T09:15:00')");
    destination().execute(L"insert into procs (unid, proc_name, mod_date) values (1, 'D', '2025-03-12T10:45:00'), "
                          L"(2, 'old', '2025-03-01T08:30:00')");
    const json stops = stopsOf(L"run --force");
    ASSERT_EQ(stops.size(), 2U);
    EXPECT_EQ(stops[0]["rows"][0]["key"], "1");
    EXPECT_THAT(stops[0]["text"].get<std::string>(), HasSubstr("overwrites the source's row with the destination's"));
    EXPECT_EQ(stops[1]["rows"][0]["key"], "2");
    EXPECT_THAT(stops[1]["text"].get<std::string>(),
                AllOf(HasSubstr("copies the row to the source, also if it was deleted"), HasSubstr("--attended")));
    for (const json& stop : stops)
        EXPECT_EQ(stop["reason"], "message_boxes");
}

TEST_F(StoppedRun, IsThatOfAColumnThatCannotBeCopied)
{
    const std::wstring add = L"alter table users add wide decimal(10, 3)";
    const std::wstring drop = L"alter table users drop column wide";
    const Sabotage atSource(source(), add, drop);
    const Sabotage atDestination(destination(), add, drop);
    addUser(source(), 1, L"new", kNew);
    source().execute(L"update users set wide = 1.5");
    const json stops = stopsOf(L"run");
    ASSERT_EQ(stops.size(), 2U);
    EXPECT_EQ(stops[0]["reason"], "message_boxes");
    EXPECT_EQ(stops[1]["reason"], "will_fail");
}
