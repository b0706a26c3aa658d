#include "commands.h"

#include <gmock/gmock.h>

using nlohmann::ordered_json;
using testing::HasSubstr;
using testing::Not;

TEST(HumanText, ColumnsAreAlignedByCharactersNotBytes)
{
    const ordered_json result = {{"conflicts",
                                  {{{"unid", "1"}, {"table_name", "Zähne"}, {"conflict", "c"}, {"key_info", "k"}},
                                   {{"unid", "2"}, {"table_name", "users"}, {"conflict", "c"}, {"key_info", "k"}}}}};
    EXPECT_EQ(humanText("list", result), "  unid  table_name  conflict  key_info\n"
                                         "  1     Zähne       c         k\n"
                                         "  2     users       c         k\n");
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
        {"checks", {{{"check", "table x"}, {"ok", false}, {"finding", "one\r\ntwo"}, {"todo", "do it"}}}}};
    EXPECT_EQ(humanText("check", result), "BAD  table x\n     one\n     two\n     do it\n");
}

TEST(HumanText, GuardNamesTableRowsAndTheWayOn)
{
    const ordered_json result = {
        {"guard", {{{"table", "users"}, {"deletes", 9}, {"destination_rows", 10}, {"max_delete", 20.0}}}}};
    EXPECT_EQ(humanText("run", result), "Nothing was written: the run would delete too many rows.\n"
                                        "  users: 9 of 10 rows, allowed are 20.0 %\n"
                                        "Go on with --force if that is meant.\n");
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
        {"recorded", ""}};
    const std::string text = humanText("run", result);
    EXPECT_THAT(text, HasSubstr("Not done: patient\n"));
    EXPECT_THAT(text, HasSubstr("FAILED: 13 (0x800A000D) s: t\n  do it\n"));
    EXPECT_THAT(text, HasSubstr("The control record could not be told.\n"));
}
