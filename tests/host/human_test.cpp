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
    const ordered_json result = {
        {"checks",
         {{{"check", "table x"}, {"ok", false}, {"warning", false}, {"finding", "one\r\ntwo"}, {"todo", "do it"}}}}};
    EXPECT_EQ(humanText("check", result), "BAD  table x\n     one\n     two\n     do it\n");
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

TEST(HumanText, FailedRunSaysWhatWasNotDone)
{
    ordered_json table = {{"table", "users"},    {"method", "one_way"}, {"done", true},        {"updates", 0},
                          {"adds", 0},           {"deletes", 0},        {"source_updates", 0}, {"source_adds", 0},
                          {"source_deletes", 0}, {"conflicts", 0},      {"errors", 0}};
    ordered_json later = table;
    later["table"] = "patient";
    later["done"] = false;
    const ordered_json result = {
        {"from", "a"},
        {"to", "b"},
        {"tables", {table, later}},
        {"error", {{"number", 13}, {"hex", "0x800A000D"}, {"source", "s"}, {"text", "t"}, {"todo", "do it"}}},
        {"recorded", ""},
        {"passed", ordered_json::array()},
        {"deleted_rows", ordered_json::array()},
        {"conflicts_waiting", nullptr},
        {"conflicts_new", nullptr}};
    const std::string text = humanText("run", result);
    EXPECT_THAT(text, HasSubstr("Not done: patient\n"));
    EXPECT_THAT(text, HasSubstr("FAILED: 13 (0x800A000D) s: t\n  do it\n"));
    EXPECT_THAT(text, HasSubstr("The control record could not be told.\n"));
    EXPECT_THAT(text, HasSubstr("How many conflicts wait is not known.\n"));
}
