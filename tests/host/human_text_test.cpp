#include "commands.h"

#include <gmock/gmock.h>

using nlohmann::ordered_json;
using testing::HasSubstr;

namespace {

/// The result of a command, and the text for a person.
struct Shown
{
    const char* name;
    const char* command;
    const char* result;
    const char* text;
};

const Shown kShown[] = {
    {"StatusAnswersQuestions", "status",
     R"({"findings": [{"exit_code": 4, "text": "The site is in error"}],
         "control": {"ready_f": false, "error_f": true, "error_message": "trouble", "last_timestamp": "a",
                     "next_timestamp": null},
         "last_run": null,
         "tables": [{"table": "patient", "adds": 0, "updates": 0, "deletes": 0, "conflicts": 0, "errors": 0},
                    {"table": "shortcut", "adds": 0, "updates": 7, "deletes": 0, "conflicts": 0, "errors": 0},
                    {"table": "users", "adds": 12, "updates": 0, "deletes": 0, "conflicts": 1, "errors": 0}],
         "conflicts": [{"table_name": "users", "waiting": 2}], "discrepancies": ["line"]})",
     R"(! The site is in error
Conflicts waiting:
  table  waiting
  users        2
Last run: none that the history knows
In error: yes, trouble
Ready for a run: no
Last run's interval ended: a
Next attempt: )"
     R"(
Counters of the last run:
  table     adds  updates  conflicts
  shortcut              7
  users       12                   1
Last discrepancies in the log:
  line
)"},
    {"ColumnsAreAlignedByCharactersNotBytes", "verify",
     R"({"tables": [{"table": "Zähne", "source_rows": 3, "destination_rows": 3, "differing": 0, "rows": []},
                    {"table": "users", "source_rows": 2, "destination_rows": 2, "differing": 0, "rows": []}]})",
     R"(  table  source rows  destination rows  differing
  Zähne            3                 3          0
  users            2                 2          0
)"},
    {"CheckKeepsTheLinesOfAFindingTogether", "check",
     R"({"checks": [
         {"check": "table x", "ok": false, "warning": false, "finding": "one\r\ntwo", "todo": "do it"},
         {"check": "table x", "ok": true, "warning": true, "finding": "odd", "todo": ""},
         {"check": "table x", "ok": true, "warning": false, "finding": "", "todo": ""}]})",
     R"(BAD  table x
     one
     two
     do it
WARN table x
     odd
ok   table x
)"},
    {"StoppedRunNamesTableRowsAndTheWayOn", "run",
     R"({"stops": [{"reason": "deletes", "table": "users", "text": "too many. Go on with --force.",
                    "rows": [{"key": "7", "key_info": "Mira"}, {"key": "8", "key_info": ""}]}], "tables": []})",
     R"(Nothing was written. The run stopped before it began:
users: too many. Go on with --force.
    7  Mira
    8
)"},
    {"VerifyListsTheColumnsOfARow", "verify",
     R"({"tables": [{"table": "users", "source_rows": 3, "destination_rows": 2, "differing": 3,
                     "rows": [{"key": "2", "what": "different",
                               "columns": [{"column": "user_name", "source": "S", "destination": null}]}]}]})",
     R"(  table  source rows  destination rows  differing
  users            3                 2          3
users 2: different
    user_name: source 'S', destination Null
users: 2 more (--all lists them)
)"},
    {"ConflictTellsEachSideAsItWasFoundAndAsItIsToday", "show",
     R"({"conflict": {
         "unid": "{1}", "table_name": "shortcut", "conflict": "deleted on the source", "key_info": "Recall",
         "state": "waits", "found": 2, "last_found": "a", "source_mod_date": null, "destination_mod_date": "b",
         "columns": [{"column": "item_text", "source": null, "destination": "D"}], "changed_since": true,
         "today": [{"column": "item_text", "source": null, "destination": "typed"}], "source_has_it": true,
         "destination_has_it": true, "choices": [{"use": "later", "explanation": "Leaves it."}],
         "next_run": "The next run leaves it."}})",
     R"({1} shortcut, deleted on the source: Recall
    waits; found 2 times, last by the run of a
    changed at the source when it was found: it has no such row
    changed at the destination when it was found: b
    item_text: the source no row, the destination 'D'
    The row is no longer as it was found. Today:
    item_text: the source Null, the destination 'typed'
  --use later: Leaves it.
  dismiss: takes the conflict off the list and changes no row. The next run leaves it.
)"},
    {"HistoryShowsTheBeginOfAnError", "history",
     R"({"runs": [{"began": "a", "took_ms": null, "outcome": "failed", "adds": null, "updates": null, "deletes": null,
                   "source_adds": null, "source_updates": null, "source_deletes": null, "conflicts_new": null,
                   "conflicts_waiting": null,
                   "error": "Zähne: 0123456789 0123456789 0123456789 0123456789 0123456789 0123456789"}]})",
     R"(  began  took  outcome  added  changed  deleted  new conflicts  waiting  error
  a      -     failed   -      -        -        -              -        )"
     R"(Zähne: 0123456789 0123456789 0123456789 0123456789 012345678 ...
`quinrep history --json` has the errors in full.
)"},
    {"NoDecisions", "log", R"({"decisions": []})", "no decisions\n"},
    {"NoConflicts", "list", R"({"conflicts": []})", "no conflicts, or none that fits the filters\n"},
};

class HumanText : public testing::TestWithParam<Shown>
{
};

TEST_P(HumanText, IsThatOfTheResult)
{
    EXPECT_EQ(humanText(GetParam().command, ordered_json::parse(GetParam().result)), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(, HumanText, testing::ValuesIn(kShown),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace

TEST(HumanTexts, PreviewShowsTheFirstHundredRowsThatTheDestinationWouldLose)
{
    ordered_json rows = ordered_json::array();
    for (int key = 1; key <= 102; ++key)
        rows.push_back({{"key", std::to_string(key)}, {"key_info", "user"}, {"table", "users"}});
    const std::string text = humanText(
        "preview", {{"tables", ordered_json::array()}, {"deleted_rows", rows}, {"stops", ordered_json::array()}});
    EXPECT_THAT(text, HasSubstr("The destination would lose:\n    users 1  user\n"));
    EXPECT_TRUE(text.ends_with("    users 100  user\n    and 2 more; `quinrep preview --json` lists all\n")) << text;
}

TEST(HumanTexts, RunSaysWhatWasNotDoneAndHowManyConflictsWait)
{
    ordered_json result = ordered_json::parse(R"({
        "from": "a", "to": "b", "recorded": "", "passed": [], "deleted_rows": [], "conflicts_waiting": null,
        "conflicts_new": null,
        "error": {"number": 13, "hex": "0x800A000D", "source": "s", "text": "t", "todo": "do it"},
        "tables": [{"table": "patient", "method": "one_way", "done": false, "updates": 0, "adds": 0, "deletes": 0,
                    "source_updates": 0, "source_adds": 0, "source_deletes": 0, "conflicts": 0, "errors": 0}]})");
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

// The words of the review page.
TEST(HumanTexts, ConflictsAreToldWithTheNamesOfTheSides)
{
    SideNames names;
    names.source = "the office";
    names.destination = "this laptop";
    const ordered_json row = ordered_json::parse(R"({
        "unid": "{1}", "table_name": "shortcut", "key": "k", "key_info": "ask the source", "conflict_type": 5,
        "conflict": "deleted on the source", "found": 1, "last_found": "a", "state": "waits", "choice": "source",
        "settled": false, "refused": "Not possible: the source has the row again.",
        "would": "Deletes the row at the destination too."})");
    EXPECT_EQ(humanText("list", {{"conflicts", {row}}}, names),
              "  id   table     conflict               row             found  last found  state\n"
              "  {1}  shortcut  deleted at the office  ask the source      1  a           waits\n");
    EXPECT_EQ(humanText("resolve", {{"planned", {row}}, {"counts", {{"deleted", 1}}}}, names),
              "{1} shortcut k  ask the source: Deletes the row at this laptop too.\n"
              "Nothing was done. It would be: 1 deleted\n");
    EXPECT_EQ(humanText("resolve", {{"resolved", {row}}}, names),
              "{1} shortcut k  ask the source: stays, Not possible: the office has the row again.\n");
    ordered_json shown = row;
    shown.update(ordered_json::parse(R"({
        "source_mod_date": null, "destination_mod_date": "b", "changed_since": false, "today": [],
        "columns": [{"column": "item_text", "source": null, "destination": "of the source"}],
        "choices": [{"use": "source", "explanation": "Copies the source's row over the destination's."}],
        "next_run": "The next run deletes the row at the destination."})"));
    EXPECT_EQ(humanText("show", {{"conflict", shown}}, names),
              "{1} shortcut, deleted at the office: ask the source\n"
              "    waits; found once, by the run of a\n"
              "    changed at the office when it was found: it has no such row\n"
              "    changed at this laptop when it was found: b\n"
              "    item_text: the office no row, this laptop 'of the source'\n"
              "  --use source: Copies the office's row over this laptop's.\n"
              "  dismiss: takes the conflict off the list and changes no row. The next run deletes the row at this "
              "laptop.\n");
    EXPECT_EQ(humanText("log",
                        {{"decisions",
                          {{{"time", "t"},
                            {"user", "u"},
                            {"table", "shortcut"},
                            {"key", "k"},
                            {"key_info", ""},
                            {"choice", "source"},
                            {"reason", ""},
                            {"outcome", "settled"},
                            {"lost_row", {{"item_text", "D"}}}}}}},
                        names),
              "t u shortcut k: the office's row, settled\n    item_text: 'D'\n");
}
