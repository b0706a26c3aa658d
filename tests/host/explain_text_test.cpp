#include "explain_text.h"

#include <gtest/gtest.h>

using nlohmann::ordered_json;

namespace {

ordered_json explained(const char* columns, bool laptopHasIt)
{
    ordered_json row = ordered_json::parse(R"({"table": "users", "key": "7", "key_info": "Norrvik", "method": "one_way",
        "last_run": "2025-03-10T12:00:00",
        "source": {"name": "this office", "has_it": true, "mod_date": null, "since_last_run": null},
        "destination": {"name": "the laptop", "has_it": false, "mod_date": null, "since_last_run": null},
        "rules": [{"id": "T1", "words": "A box opens."}, {"id": null, "words": "Nothing."}],
        "next_run": {"action": "leaves", "text": "The next run leaves the row as it is.", "stops": []},
        "conflict": null, "history": []})");
    row["columns"] = ordered_json::parse(columns);
    if (laptopHasIt)
        row["destination"].update(
            ordered_json::parse(R"({"has_it": true, "mod_date": "2025-03-11T09:15:00", "since_last_run": true})"));
    return {{"row", row}};
}

TEST(ExplainText, PutsTheColumnsThatDifferSideBySideAndFoldsTheOthers)
{
    ordered_json result = explained(R"([
        {"column": "user_name", "source": "Norrvik", "destination": "Nörvik", "differs": true},
        {"column": "note", "differs": true,
         "source": "A long note that is the same on both sides up to a word that was corrected here",
         "destination": "A long note that is the same on both sides up to a word that was korrected here"},
        {"column": "unid", "source": "7", "destination": "7", "differs": false},
        {"column": "initials", "source": null, "destination": null, "differs": false}])",
                                    true);
    result["row"]["next_run"]["stops"] = ordered_json::parse(R"([
        {"reason": "deletes", "table": "users", "rows": 3, "this_row": true, "text": "Too many."},
        {"reason": "will_fail", "table": "procs", "rows": 0, "this_row": false, "text": "It fails."},
        {"reason": "not_ready", "table": null, "rows": 0, "this_row": false, "text": "Not ready."}])");
    result["row"]["conflict"] = "{A}";
    result["row"]["history"] = ordered_json::parse(R"([
        {"time": "2025-03-11T20:00:00", "from": "log", "text": "A run wrote.", "entry": "x"},
        {"time": null, "from": "log", "text": "Another did.", "entry": "y"}])");
    EXPECT_EQ(explainText(result), R"(users 7: Norrvik
               this office                                 the laptop
    user_name  Norrvik                                     Nörvik
    note       ...rd that was corrected here               ...rd that was korrected here
  The same on both sides:
    unid 7; initials Null

Changed at this office: at a time that is not known, mod_date is Null.
Changed at the laptop: 2025-03-11 09:15:00, since the last run
The last run's interval ended: 2025-03-10 12:00:00

The table's method is one_way.
A box opens. (rule T1 of the document "How tables are replicated")
Nothing.

The next run leaves the row as it is.
As things are, a run does not begin:
    this row: Too many.
    procs: It fails.
    Not ready.
A conflict of the row waits: decide it with `quinrep review`, or see what `quinrep conflicts show {A}` offers.

So far:
    2025-03-11 20:00:00  A run wrote.
    at an unknown time  Another did.
)");
}

TEST(ExplainText, ShowsTheOnlyCopyOfARow)
{
    EXPECT_EQ(explainText(explained(R"([{"column": "unid", "source": "7", "destination": null, "differs": true},
        {"column": "user_name", "source": "Norrvik", "destination": null, "differs": true}])",
                                    false)),
              R"(users 7: Norrvik
    unid       7
    user_name  Norrvik

Changed at this office: at a time that is not known, mod_date is Null.
The laptop has no such row.
The last run's interval ended: 2025-03-10 12:00:00

The table's method is one_way.
A box opens. (rule T1 of the document "How tables are replicated")
Nothing.

The next run leaves the row as it is.

So far: nothing is recorded.
)");
}

} // namespace
