#pragma once

#include <QuinmarkRepDLL.h>

#include <span>

/// The next run's action on a row that no conflict protects.
enum class NextRun
{
    LeavesIt,
    OverwritesDestination,
    DeletesAtDestination,
    InsertsIntoDestination,
    OverwritesSource,
    InsertsIntoSource,
    ReportsIt,
    /// It ends in an error.
    Fails,
    /// The configuration does not list the table.
    PassesTheTable,
    Unknown,
};

/// The rule that decides about a row. Each but the first is a row of a table in docs/replication.md.
enum class RowRule
{
    OnNeitherSide,
    FullCopy,
    // Rows that are not looked at.
    UndatedOnBoth,
    EqualDates,
    UnchangedOnBoth,
    UndatedOnOne,
    // Passes that the delete handling of a key field leaves out.
    KeySkipsDeletes,
    KeyOnlyDeletes,
    // One-way, on both sides.
    NearDates,
    ChangedOnBothAtOffices,
    ChangedOnBothAtLaptop,
    SourceNewer,
    DestinationNewerAtOffices,
    DestinationNewerAtLaptop,
    // One-way, in the source alone.
    SourceOnlyNew,
    SourceOnlyOldAtOffices,
    SourceOnlyOldAtLaptop,
    // One-way, in the destination alone.
    DestinationOnlyNewAtOffices,
    DestinationOnlyNewAtLaptop,
    DestinationOnlyOldDeleted,
    DestinationOnlyOldAtOffices,
    DestinationOnlyOldAtLaptop,
    // Two-way.
    TwoWayChangedOnBoth,
    TwoWaySameSecond,
    TwoWaySourceNewer,
    TwoWayDestinationNewer,
    TwoWaySourceOnlyNew,
    TwoWaySourceOnlyDeleted,
    TwoWaySourceOnlyConflict,
    TwoWayDestinationOnlyNew,
    TwoWayDestinationOnlyDeleted,
    TwoWayDestinationOnlyConflict,
};

struct RuleEntry
{
    RowRule rule = RowRule::OnNeitherSide;
    /// The name of its row in docs/replication.md.
    const char* id = "";
    /// Unknown where it depends on more than the rule.
    NextRun action = NextRun::Unknown;
    /// In words, with {source} and {destination} for the sides.
    const char* words = "";
    /// The kind of a reported conflict.
    enumConflictType conflict = CHANGED_ON_BOTH;
    /// Whether a message box opens first.
    bool announced = false;
};

/// All rules, in the order of the enumeration.
std::span<const RuleEntry> allRules();

const RuleEntry& entryOf(RowRule rule);
