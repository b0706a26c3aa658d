#include "commands.h"

#include <gmock/gmock.h>

using nlohmann::ordered_json;
using testing::HasSubstr;
using testing::Not;

namespace {

/// A status with these conflicts and nothing else.
ordered_json withStatus(ordered_json result)
{
    result["control"] = {{"ready_f", false},
                         {"error_f", false},
                         {"error_message", nullptr},
                         {"last_timestamp", nullptr},
                         {"next_timestamp", nullptr}};
    result["counts"] = ordered_json::array();
    result["log"] = ordered_json::array();
    return result;
}

} // namespace

TEST(HumanText, ColumnsAreAlignedByCharactersNotBytes)
{
    const ordered_json result = {
        {"conflicts", {{{"table_name", "Zähne"}, {"waiting", 2}}, {{"table_name", "users"}, {"waiting", 1}}}}};
    EXPECT_THAT(humanText("status", withStatus(result)), HasSubstr("  table_name  waiting\n"
                                                                   "  Zähne             2\n"
                                                                   "  users             1\n"));
}

TEST(HumanText, StatusAnswersQuestions)
{
    const ordered_json result = {{"control",
                                  {{"ready_f", false},
                                   {"error_f", true},
                                   {"error_message", "trouble"},
                                   {"last_timestamp", "a"},
                                   {"next_timestamp", nullptr}}},
                                 {"counts", ordered_json::array()},
                                 {"conflicts", {{{"table_name", "users"}, {"waiting", 2}}}},
                                 {"log", {"line"}}};
    EXPECT_EQ(humanText("status", result), "Ready for a run: no\n"
                                           "In error: yes, trouble\n"
                                           "Last run's interval ended: a\n"
                                           "Next attempt: \n"
                                           "Counters of the last run: none\n"
                                           "Conflicts waiting:\n"
                                           "  table_name  waiting\n"
                                           "  users             2\n"
                                           "Last errors in the log:\n"
                                           "  line\n");
}

TEST(HumanText, CheckKeepsTheLinesOfAFindingTogether)
{
    const auto check = [](bool ok, bool warning, const char* finding, const char* todo) {
        return ordered_json{
            {"check", "table x"}, {"ok", ok}, {"warning", warning}, {"finding", finding}, {"todo", todo}};
    };
    const ordered_json result = {
        {"checks",
         {check(false, false, "one\r\ntwo", "do it"), check(true, true, "odd", ""), check(true, false, "", "")}}};
    EXPECT_EQ(humanText("check", result), "BAD  table x\n     one\n     two\n     do it\n"
                                          "WARN table x\n     odd\n"
                                          "ok   table x\n");
}

TEST(HumanText, StoppedRunNamesTableRowsAndTheWayOn)
{
    const ordered_json result = {{"stops",
                                  {{{"reason", "deletes"},
                                    {"table", "users"},
                                    {"rows", {{{"key", "7"}, {"key_info", "Mira"}}, {{"key", "8"}, {"key_info", ""}}}},
                                    {"text", "too many. Go on with --force."}}}},
                                 {"tables", ordered_json::array()}};
    EXPECT_EQ(humanText("run", result), "Nothing was written. The run stopped before it began:\n"
                                        "users: too many. Go on with --force.\n"
                                        "    7  Mira\n"
                                        "    8\n");
}

TEST(HumanText, PreviewShowsTheFirstHundredRowsThatTheDestinationWouldLose)
{
    ordered_json rows = ordered_json::array();
    for (int key = 1; key <= 102; ++key)
        rows.push_back({{"key", std::to_string(key)}, {"key_info", "user"}, {"table", "users"}});
    const std::string text = humanText(
        "preview", {{"tables", ordered_json::array()}, {"deleted_rows", rows}, {"stops", ordered_json::array()}});
    EXPECT_THAT(text, HasSubstr("The destination would lose:\n    users 1  user\n"));
    EXPECT_TRUE(text.ends_with("    users 100  user\n    and 2 more; `quinrep preview --json` lists all\n")) << text;
}

TEST(HumanText, VerifyListsTheColumnsOfARow)
{
    const ordered_json row = {{"key", "2"},
                              {"what", "different"},
                              {"columns", {{{"column", "user_name"}, {"source", "S"}, {"destination", nullptr}}}}};
    const ordered_json table = {
        {"table", "users"}, {"source_rows", 3}, {"destination_rows", 2}, {"differing", 1}, {"rows", {row}}};
    EXPECT_EQ(humanText("verify", {{"tables", {table}}}), "  table  source_rows  destination_rows  differing\n"
                                                          "  users            3                 2          1\n"
                                                          "users 2: different\n"
                                                          "    user_name: source 'S', destination ''\n");
}

TEST(HumanText, ConflictTellsEachSideAsItWasFoundAndAsItIsToday)
{
    const ordered_json conflict = {
        {"unid", "{1}"},
        {"table_name", "shortcut"},
        {"conflict", "deleted on the source"},
        {"key_info", "Recall"},
        {"state", "waits"},
        {"found", 2},
        {"last_found", "a"},
        {"source_mod_date", nullptr},
        {"destination_mod_date", "b"},
        {"columns", {{{"column", "item_text"}, {"source", nullptr}, {"destination", "D"}}}},
        {"changed_since", true},
        {"today", {{{"column", "item_text"}, {"source", nullptr}, {"destination", "typed"}}}},
        {"source_has_it", true},
        {"destination_has_it", true},
        {"choices", {{{"use", "later"}, {"explanation", "Leaves it."}}}},
        {"next_run", "The next run leaves it."}};
    EXPECT_EQ(humanText("show", {{"conflict", conflict}}),
              "{1} shortcut, deleted on the source: Recall\n"
              "    waits; found 2 times, last by the run of a\n"
              "    changed at the source when it was found: it has no such row\n"
              "    changed at the destination when it was found: b\n"
              "    item_text: source no row, destination 'D'\n"
              "    The row is no longer as it was found. Today:\n"
              "    item_text: source Null, destination 'typed'\n"
              "  --use later: Leaves it.\n"
              "  dismiss: takes the conflict off the list and changes no row. The next run leaves it.\n");
}

TEST(HumanText, EmptyListsSaySo)
{
    EXPECT_EQ(humanText("log", {{"decisions", ordered_json::array()}}), "no decisions\n");
    EXPECT_EQ(humanText("list", {{"conflicts", ordered_json::array()}}),
              "no conflicts, or none that fits the filters\n");
}

TEST(HumanText, RunSaysWhatWasNotDoneAndHowManyConflictsWait)
{
    ordered_json table = {{"table", "users"},    {"method", "one_way"}, {"done", true},        {"updates", 0},
                          {"adds", 0},           {"deletes", 0},        {"source_updates", 0}, {"source_adds", 0},
                          {"source_deletes", 0}, {"conflicts", 0},      {"errors", 0}};
    ordered_json later = table;
    later["table"] = "patient";
    later["done"] = false;
    ordered_json result = {
        {"from", "a"},
        {"to", "b"},
        {"tables", {table, later}},
        {"error", {{"number", 13}, {"hex", "0x800A000D"}, {"source", "s"}, {"text", "t"}, {"todo", "do it"}}},
        {"recorded", ""},
        {"passed", ordered_json::array()},
        {"deleted_rows", ordered_json::array()},
        {"conflicts_waiting", nullptr},
        {"conflicts_new", nullptr}};
    std::string text = humanText("run", result);
    EXPECT_THAT(text, HasSubstr("Not done: patient\n"));
    EXPECT_THAT(text, HasSubstr("FAILED: 13 (0x800A000D) s: t\n  do it\n"));
    EXPECT_THAT(text, HasSubstr("The control record could not be told.\n"));
    EXPECT_THAT(text, HasSubstr("How many conflicts wait is not known.\n"));
    result["conflicts_waiting"] = 2;
    result["conflicts_new"] = 1;
    text = humanText("run", result);
    EXPECT_THAT(text, HasSubstr("Conflicts that wait: 2, new: 1. Look at them with `quinrep review`"));
}
