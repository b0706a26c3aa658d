#include "RowRule.h"

#include <algorithm>
#include <array>

namespace {

// tests/examples/documents_test.py holds docs/replication.md to this table.
constexpr auto kRules = [] {
    using enum RowRule;
    using enum NextRun;
    return std::array{
        RuleEntry{OnNeitherSide, "", LeavesIt, "Neither side has the row."},
        RuleEntry{FullCopy, "F1", Unknown,
                  "The table is copied in full: every run empties it at {destination} and copies all rows of {source}, "
                  "whatever their dates."},
        RuleEntry{UndatedOnBoth, "L1", LeavesIt,
                  "Both sides have the row, and a copy has no date (mod_date): runs do not look at it."},
        RuleEntry{EqualDates, "L2", LeavesIt,
                  "Both copies have the same date: runs do not look at the row, whatever else differs."},
        RuleEntry{UnchangedOnBoth, "L3", LeavesIt,
                  "The dates differ, but neither is later than the last run: the run does not look at the row."},
        RuleEntry{
            UndatedOnOne, "L4", Fails,
            "One side alone has the row, and it has no date (mod_date): the run ends in an error (94, Invalid use of "
            "Null)."},
        RuleEntry{
            KeySkipsDeletes, "K3", LeavesIt,
            "The configuration skips deletes in this table: the run does not look at rows that {destination} alone "
            "has."},
        RuleEntry{
            KeyOnlyDeletes, "K4", LeavesIt,
            "The configuration makes only deletes in this table: the run does not look at rows that {source} has."},
        RuleEntry{
            NearDates, "B1", LeavesIt,
            "The dates are at most 2 seconds apart, which counts as equal: the run leaves both copies as they are."},
        RuleEntry{
            ChangedOnBothAtOffices, "B2", ReportsIt,
            "Both sides changed the row since the last run. At the offices the run leaves both copies as they are and "
            "records a conflict and an error.",
            CHANGED_ON_BOTH},
        RuleEntry{
            ChangedOnBothAtLaptop, "B3", ReportsIt,
            "Both sides changed the row since the last run. At a laptop the run leaves both copies as they are and "
            "records a conflict.",
            CHANGED_ON_BOTH},
        RuleEntry{
            SourceNewer, "B4", OverwritesDestination,
            "The copy of {source} is newer, and {destination} has not changed its own since the last run: the run "
            "overwrites the copy of {destination}."},
        RuleEntry{
            DestinationNewerAtOffices, "B5", ReportsIt,
            "The copy of {destination} is newer. At the offices such a change is not allowed: the run leaves both "
            "copies as they are and records a conflict and an error.",
            CHANGED_ON_DEST},
        RuleEntry{DestinationNewerAtLaptop, "B6", LeavesIt,
                  "The copy of {destination} is newer. At a laptop the run leaves both copies as they are."},
        RuleEntry{SourceOnlyNew, "S1", InsertsIntoDestination,
                  "Only {source} has the row, changed since the last run. It counts as new: the run copies it to "
                  "{destination}."},
        RuleEntry{
            SourceOnlyOldAtOffices, "S2", ReportsIt,
            "Only {source} has the row, unchanged since the last run. It counts as deleted at {destination}: at the "
            "offices the run leaves it as it is and records a conflict and an error.",
            NEW_ON_source},
        RuleEntry{
            SourceOnlyOldAtLaptop, "S3", LeavesIt,
            "Only {source} has the row, unchanged since the last run. It counts as deleted at {destination}: at a "
            "laptop the run leaves it as it is."},
        RuleEntry{
            DestinationOnlyNewAtOffices, "D1", ReportsIt,
            "Only {destination} has the row, changed since the last run. It counts as new there, which is not allowed "
            "at the offices: the run leaves it as it is and records a conflict and an error.",
            NEW_ON_DEST},
        RuleEntry{
            DestinationOnlyNewAtLaptop, "D2", LeavesIt,
            "Only {destination} has the row, changed since the last run. It counts as new there: at a laptop the run "
            "leaves it as it is."},
        RuleEntry{DestinationOnlyOldDeleted, "D3", DeletesAtDestination,
                  "Only {destination} has the row, unchanged since the last run. It counts as deleted at {source}: at "
                  "the offices the run deletes it at {destination}."},
        RuleEntry{
            DestinationOnlyOldAtOffices, "D4", ReportsIt,
            "Only {destination} has the row, unchanged since the last run. It is new there, or was deleted at "
            "{source}. At the offices a method without deletes leaves it as it is and records a conflict and an error.",
            NEW_ON_DEST},
        RuleEntry{
            DestinationOnlyOldAtLaptop, "D5", ReportsIt,
            "Only {destination} has the row, unchanged since the last run. It counts as deleted at {source}: at a "
            "laptop the run leaves it as it is and records a conflict and an error.",
            DELETED_ON_SOURCE},
        RuleEntry{
            TwoWayChangedOnBoth, "T1", Unknown,
            "Both sides changed the row since the last run: a message box \"replication conflict\" waits for somebody "
            "first.",
            CHANGED_ON_BOTH, true},
        RuleEntry{TwoWaySameSecond, "T2", LeavesIt,
                  "Both dates are of the same second: the run leaves both copies as they are."},
        RuleEntry{TwoWaySourceNewer, "T3", OverwritesDestination,
                  "The copy of {source} is newer: the run overwrites the copy of {destination}."},
        RuleEntry{TwoWayDestinationNewer, "T4", OverwritesSource,
                  "The copy of {destination} is newer: the run overwrites the copy of {source}."},
        RuleEntry{TwoWaySourceOnlyNew, "T5", InsertsIntoDestination,
                  "Only {source} has the row, changed since the last run: the run copies it to {destination}."},
        RuleEntry{
            TwoWaySourceOnlyDeleted, "T6", InsertsIntoDestination,
            "Only {source} has the row, unchanged since the last run: a message box \"TODO: delete from Nrv\" waits "
            "for somebody, and then the run copies the row to {destination}.",
            CHANGED_ON_BOTH, true},
        RuleEntry{
            TwoWaySourceOnlyConflict, "T7", InsertsIntoDestination,
            "Only {source} has the row, unchanged since the last run: a message box \"replication conflict - new row "
            "on Nrv\" waits for somebody, and then the run copies the row to {destination}.",
            CHANGED_ON_BOTH, true},
        RuleEntry{TwoWayDestinationOnlyNew, "T8", InsertsIntoSource,
                  "Only {destination} has the row, changed since the last run: the run copies it to {source}."},
        RuleEntry{
            TwoWayDestinationOnlyDeleted, "T9", InsertsIntoSource,
            "Only {destination} has the row, unchanged since the last run: a message box \"TODO: delete from ZT\" "
            "waits for somebody, and then the run copies the row to {source}.",
            CHANGED_ON_BOTH, true},
        RuleEntry{
            TwoWayDestinationOnlyConflict, "T10", InsertsIntoSource,
            "Only {destination} has the row, unchanged since the last run: a message box \"replication conflict - new "
            "row on ZT\" waits for somebody, and then the run copies the row to {source}.",
            CHANGED_ON_BOTH, true},
    };
}();

static_assert(std::ranges::is_sorted(kRules, {}, &RuleEntry::rule) &&
              kRules.back().rule == static_cast<RowRule>(kRules.size() - 1));

} // namespace

std::span<const RuleEntry> allRules()
{
    return kRules;
}

const RuleEntry& entryOf(RowRule rule)
{
    return kRules[static_cast<size_t>(rule)];
}
