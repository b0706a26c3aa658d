// `quinrep explain` tells of one row. decided_rows_test holds its rules to what a run does.
#include "Quinrep.h"

#include "text.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ExplainCommand : public Quinrep
{
protected:
    json explained(const std::wstring& row)
    {
        const Ended ended = quinrepJson(L"explain " + row, "explain");
        EXPECT_EQ(ended.exitCode, kDone) << ended.messages;
        return ended.result()["row"];
    }

    static std::vector<std::string> texts(const json& list, const char* name)
    {
        std::vector<std::string> texts;
        for (const json& entry : list)
            texts.push_back(entry[name]);
        return texts;
    }

    /// The message about a row that cannot be explained.
    std::string refused(const std::wstring& row)
    {
        const Ended ended = quinrep(L"explain " + row);
        EXPECT_EQ(ended.exitCode, kUsage) << ended.output;
        return ended.messages;
    }
};

class ExplainAtTheLaptop : public ExplainCommand
{
protected:
    void SetUp() override
    {
        ExplainCommand::SetUp();
        runAt(LAPTOP);
        tables = tableSection("shortcut", "one_way_deletes");
    }
};

} // namespace

TEST_F(ExplainCommand, ShowsBothCopiesAndWhatTheRunThenDoes)
{
    for (const PracticeSide* side : {&source(), &destination()})
        addUsers(*side, 1, 10);
    changeUser(source(), 3, L"changed", kNew);
    const json row = explained(L"USERS 3");
    EXPECT_EQ(row["table"], "users");
    EXPECT_EQ(row["method"], "one_way_deletes");
    EXPECT_EQ(row["last_run"], "2025-03-10T12:00:00");
    EXPECT_EQ(row["source"], json({{"name", "this office"},
                                   {"has_it", true},
                                   {"mod_date", "2025-03-11T09:15:00"},
                                   {"since_last_run", true}}));
    EXPECT_EQ(row["destination"]["name"], "the laptop");
    EXPECT_EQ(row["destination"]["since_last_run"], false);
    EXPECT_EQ(row["columns"][0],
              json({{"column", "user_name"}, {"source", "changed"}, {"destination", "user"}, {"differs", true}}));
    EXPECT_EQ(row["columns"][2]["differs"], false);
    EXPECT_THAT(texts(row["rules"], "id"), ElementsAre("B4"));
    EXPECT_EQ(row["next_run"]["action"], "overwrites_destination");
    EXPECT_EQ(row["next_run"]["text"], "The next run overwrites the laptop's row with this office's.");
    EXPECT_THAT(row["next_run"]["stops"], IsEmpty());
    EXPECT_THAT(row["history"], IsEmpty());
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
    const json after = explained(L"users 3");
    EXPECT_THAT(texts(after["rules"], "id"), ElementsAre("L2"));
    EXPECT_THAT(texts(after["history"], "text"),
                ElementsAre("A run sent the statement that overwrites the row of the laptop."));
}

TEST_F(ExplainCommand, TellsWhyARunWouldStop)
{
    addUsers(destination(), 1, 2);
    addUsers(source(), 2, 2);
    local().execute(L"update replication_control set ready_f = 0, error_f = 1, error_message = 'trouble'");
    const json row = explained(L"users 1");
    EXPECT_EQ(row["next_run"]["action"], "deletes_at_destination");
    EXPECT_THAT(texts(row["next_run"]["stops"], "reason"), ElementsAre("deletes", "not_ready", "in_error"));
    const json first = row["next_run"]["stops"][0];
    EXPECT_EQ(first["this_row"], true);
    EXPECT_THAT(first["text"], testing::StartsWith("1 of 2 rows of the laptop would be deleted, 20 % may be."));
    EXPECT_EQ(explained(L"users 2")["next_run"]["stops"][0]["this_row"], false);
    local().execute(L"update replication_control set last_timestamp = null");
    const json unknown = explained(L"users 1");
    EXPECT_EQ(unknown["last_run"], nullptr);
    EXPECT_EQ(unknown["next_run"]["action"], "unknown");
    EXPECT_EQ(unknown["next_run"]["stops"][0]["reason"], "no_interval");
}

TEST_F(ExplainAtTheLaptop, TellsWhatHappenedToARowInItsOrder)
{
    addShortcut(source(), 1, L"S", kNew);
    addShortcut(destination(), 1, L"D", kNewer);
    const std::wstring key = shortcutKey(1).substr(1, 36);
    EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
    // Both copies are older than the next run's interval.
    const json waiting = explained(L"shortcut " + key);
    EXPECT_EQ(waiting["key"], toUtf8(shortcutKey(1)));
    EXPECT_EQ(waiting["key_info"], "Recall 1");
    EXPECT_THAT(texts(waiting["rules"], "id"), ElementsAre("L3"));
    EXPECT_THAT(texts(waiting["history"], "from"), testing::UnorderedElementsAre("log", "conflict"));
    local().execute(L"update replication_control set ready_f = 1, last_timestamp = '2025-03-10T12:00:00'");
    const json asFound = explained(L"shortcut " + key);
    EXPECT_THAT(texts(asFound["rules"], "id"), ElementsAre("B3"));
    EXPECT_EQ(asFound["next_run"]["text"], "The next run reports the row again and leaves it as it is.");
    EXPECT_EQ(quinrep(L"conflicts resolve --all --use source").exitCode, kDone);
    const json settled = explained(L"shortcut " + key);
    EXPECT_THAT(texts(settled["rules"], "id"), ElementsAre("L2"));
    EXPECT_THAT(texts(settled["history"], "from"), ElementsAre("log", "decision"));
    EXPECT_THAT(settled["history"][1]["text"].get<std::string>(), HasSubstr("decided: source; settled."));
    EXPECT_THAT(settled["history"][0]["entry"].get<std::string>(), HasSubstr("Replication Discrepancy (mismatch)"));
}

TEST_F(ExplainAtTheLaptop, TellsOfARowThatIsGoneByItsRecords)
{
    addShortcut(destination(), 1, L"D", kOld);
    const std::wstring row = L"shortcut " + shortcutKey(1);
    EXPECT_EQ(quinrep(L"run").exitCode, kRecorded);
    EXPECT_EQ(quinrep(L"conflicts resolve --all --use source").exitCode, kDone);
    const json gone = explained(row);
    EXPECT_EQ(gone["source"]["has_it"], false);
    EXPECT_EQ(gone["destination"]["has_it"], false);
    EXPECT_EQ(gone["rules"][0]["words"], "Neither side has the row.");
    EXPECT_THAT(texts(gone["history"], "from"), ElementsAre("log", "decision"));
    EXPECT_THAT(refused(L"shortcut " + shortcutKey(2)), HasSubstr("neither side has a row"));
}

TEST_F(ExplainCommand, TellsOfTablesThatNoRunComparesRowByRow)
{
    tables = tableSection("chart_option", "one_way_deletes", "dependent = 'chart_option_setting'\n") +
             tableSection("ada_code", "full_copy");
    addUser(source(), 1, L"new", kNew);
    const json unlisted = explained(L"users 1");
    EXPECT_EQ(unlisted["method"], nullptr);
    EXPECT_EQ(unlisted["next_run"]["text"],
              "The configuration does not list the table. No run of this configuration touches the table.");
    const std::wstring key = shortcutKey(1);
    source().execute(L"insert into ada_code (unid, ada_code, ada_code_desc, mod_date) values ('" + key +
                     L"', 'D1', 'x', '" + kOld + L"')");
    const json copied = explained(L"ada_code " + key);
    EXPECT_THAT(texts(copied["rules"], "id"), ElementsAre("F1"));
    EXPECT_EQ(copied["next_run"]["action"], "inserts_into_destination");
    source().execute(L"insert into chart_option (unid, option_name, mod_date) values ('" + key + L"', 'x', '" + kNew +
                     L"')");
    EXPECT_EQ(
        explained(L"chart_option " + key)["next_run"]["text"],
        "The next run copies the row to the laptop. The rows of chart_option_setting that depend on it are deleted "
        "at the laptop and copied from this office again.");
    source().execute(L"insert into chart_option_setting (unid, chart_option_id, setting_name, mod_date) values ('" +
                     key + L"', '" + key + L"', 'x', '" + kNew + L"')");
    EXPECT_THAT(explained(L"chart_option_setting " + key)["next_run"]["text"].get<std::string>(),
                HasSubstr("a dependent one of chart_option"));
}

TEST_F(ExplainCommand, RefusesWhatIsNoRowAndSaysWhy)
{
    EXPECT_THAT(
        refused(L"usres 1"),
        HasSubstr("there is no table \"usres\" in the configuration or the databases; did you mean \"users\"?"));
    EXPECT_THAT(refused(L"\"users; drop table users\" 1"), HasSubstr("there is no table"));
    EXPECT_THAT(refused(L"users 77"), HasSubstr("neither side has a row \"77\" of users"));
    EXPECT_THAT(refused(L"users abc"), HasSubstr("\"abc\" is no key of users"));
}

// Its statements would end at the apostrophe.
TEST_F(ExplainCommand, SaysThatARowWithAnApostropheInItsKeyFails)
{
    tables = tableSection("users", "by_key", "key = 'user_name'\ndeletes = 'with_updates'\n");
    source().execute(L"insert into users (unid, user_name, mod_date) values (1, 'O''Hara', '" + std::wstring(kNew) +
                     L"')");
    const json row = explained(L"users O'Hara");
    EXPECT_EQ(row["key"], "O'Hara");
    EXPECT_EQ(row["next_run"]["stops"][0]["reason"], "will_fail");
    EXPECT_EQ(row["next_run"]["stops"][0]["this_row"], true);
}
