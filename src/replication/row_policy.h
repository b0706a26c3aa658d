#pragma once

namespace quinmark {

/// Decides what replication does with a row, by the site, the delete setting and how the modification dates compare.
/// Decision tables only: no I/O, no clock, no texts.

/// The site that runs the component. Every site but OFFICES (0) replicates by the laptop's rules.
enum class Site
{
    Offices,
    Laptop,
};

/// How the two modification dates of a row that both sides have compare.
struct CommonDates
{
    /// No more than 2 whole seconds apart.
    bool equal;
    bool sourceAfterLastRun;
    bool destinationAfterLastRun;
    bool sourceNewer;
    bool destinationNewer;
};

enum class CommonRow
{
    LeaveEqualDates,
    LeaveDestinationNewer,
    Update,
    ReportChangedOnBoth,
    ReportChangedOnDestination,
};

/// One-way replication of a row that both sides have, with different modification dates.
constexpr CommonRow decideCommonRow(Site site, const CommonDates& dates)
{
    if (dates.equal)
        return CommonRow::LeaveEqualDates;
    if (dates.sourceAfterLastRun && dates.destinationAfterLastRun)
        return CommonRow::ReportChangedOnBoth;
    if (dates.sourceNewer)
        return CommonRow::Update;
    if (dates.destinationNewer && site == Site::Offices)
        return CommonRow::ReportChangedOnDestination;
    return CommonRow::LeaveDestinationNewer;
}

/// When a row that only one side has was modified. The last run's own time counts as since.
enum class Modified
{
    BeforeLastRun,
    SinceLastRun,
};

enum class SourceOnlyRow
{
    Insert,
    Leave,
    ReportDeletedInDestination,
};

/// One-way replication of a row that only the source has.
constexpr SourceOnlyRow decideSourceOnlyRow(Site site, Modified modified)
{
    if (modified == Modified::SinceLastRun)
        return SourceOnlyRow::Insert;
    return site == Site::Offices ? SourceOnlyRow::ReportDeletedInDestination : SourceOnlyRow::Leave;
}

enum class DestinationOnlyRow
{
    Leave,
    Delete,
    ReportNew,
    ReportNewOrDeletedFromSource,
    ReportDeletedFromSource,
};

/// One-way replication of a row that only the destination has.
constexpr DestinationOnlyRow decideDestinationOnlyRow(Site site, Modified modified, bool deletesAllowed)
{
    if (modified == Modified::SinceLastRun)
        return site == Site::Offices ? DestinationOnlyRow::ReportNew : DestinationOnlyRow::Leave;
    if (site == Site::Laptop)
        return DestinationOnlyRow::ReportDeletedFromSource;
    return deletesAllowed ? DestinationOnlyRow::Delete : DestinationOnlyRow::ReportNewOrDeletedFromSource;
}

enum class TwoWayRow
{
    Leave,
    UpdateDestination,
    UpdateSource,
};

/// Two-way replication of a row that both sides have: the later one wins, unless both are of the same second.
constexpr TwoWayRow decideTwoWayRow(bool sameSecond, bool sourceNewer)
{
    if (sameSecond)
        return TwoWayRow::Leave;
    return sourceNewer ? TwoWayRow::UpdateDestination : TwoWayRow::UpdateSource;
}

} // namespace quinmark
