#include "RowDecision.h"

#include "replication/row_dates.h"

using namespace quinmark;

namespace {

RowDecision by(RowRule rule)
{
    const RuleEntry& entry = entryOf(rule);
    return {.rule = rule, .action = entry.action, .conflict = entry.conflict, .announced = entry.announced};
}

RowRule oneWayCommon(Site site, const CommonDates& dates)
{
    switch (decideCommonRow(site, dates)) {
    case CommonRow::LeaveEqualDates:
        return RowRule::NearDates;
    case CommonRow::LeaveDestinationNewer:
        return RowRule::DestinationNewerAtLaptop;
    case CommonRow::Update:
        return RowRule::SourceNewer;
    case CommonRow::ReportChangedOnBoth:
        return site == Site::Offices ? RowRule::ChangedOnBothAtOffices : RowRule::ChangedOnBothAtLaptop;
    case CommonRow::ReportChangedOnDestination:
        break;
    }
    return RowRule::DestinationNewerAtOffices;
}

RowRule twoWayCommon(DATE source, DATE destination)
{
    switch (decideTwoWayRow(secondsApart(source, destination) == 0, source > destination)) {
    case TwoWayRow::Leave:
        return RowRule::TwoWaySameSecond;
    case TwoWayRow::UpdateDestination:
        return RowRule::TwoWaySourceNewer;
    case TwoWayRow::UpdateSource:
        break;
    }
    return RowRule::TwoWayDestinationNewer;
}

RowDecision decideCommon(const MethodPlan& plan, Site site, DATE source, DATE destination, DATE dLastReplicate)
{
    if (plan.engine != Engine::TwoWay)
        return by(oneWayCommon(site, compareDates(source, destination, dLastReplicate)));
    RowDecision decision = by(twoWayCommon(source, destination));
    decision.announced = source > dLastReplicate && destination > dLastReplicate;
    return decision;
}

RowRule sourceOnly(const MethodPlan& plan, Site site, Modified modified)
{
    if (plan.engine == Engine::TwoWay)
        return modified == Modified::SinceLastRun ? RowRule::TwoWaySourceOnlyNew
               : plan.deletes                     ? RowRule::TwoWaySourceOnlyDeleted
                                                  : RowRule::TwoWaySourceOnlyConflict;
    switch (decideSourceOnlyRow(site, modified)) {
    case SourceOnlyRow::Leave:
        return RowRule::SourceOnlyOldAtLaptop;
    case SourceOnlyRow::Insert:
        return RowRule::SourceOnlyNew;
    case SourceOnlyRow::ReportDeletedInDestination:
        break;
    }
    return RowRule::SourceOnlyOldAtOffices;
}

RowRule destinationOnly(const MethodPlan& plan, Site site, Modified modified)
{
    if (plan.engine == Engine::TwoWay)
        return modified == Modified::SinceLastRun ? RowRule::TwoWayDestinationOnlyNew
               : plan.deletes                     ? RowRule::TwoWayDestinationOnlyDeleted
                                                  : RowRule::TwoWayDestinationOnlyConflict;
    switch (decideDestinationOnlyRow(site, modified, plan.deletes)) {
    case DestinationOnlyRow::Leave:
        return RowRule::DestinationOnlyNewAtLaptop;
    case DestinationOnlyRow::Delete:
        return RowRule::DestinationOnlyOldDeleted;
    case DestinationOnlyRow::ReportNew:
        return RowRule::DestinationOnlyNewAtOffices;
    case DestinationOnlyRow::ReportNewOrDeletedFromSource:
        return RowRule::DestinationOnlyOldAtOffices;
    case DestinationOnlyRow::ReportDeletedFromSource:
        break;
    }
    return RowRule::DestinationOnlyOldAtLaptop;
}

/// The rule for a row that no comparison query of the method looks for.
std::optional<RowRule> notLookedFor(const MethodPlan& plan, const RowCopy& source, const RowCopy& destination)
{
    if (source.exists)
        return plan.copiesRows ? std::nullopt : std::optional(RowRule::KeyOnlyDeletes);
    if (!destination.exists)
        return RowRule::OnNeitherSide;
    return plan.looksForDeletedRows ? std::nullopt : std::optional(RowRule::KeySkipsDeletes);
}

/// The rule by which a comparison query passes over a row that both sides have.
std::optional<RowRule> passedOver(const RowCopy& source, const RowCopy& destination, DATE dLastReplicate)
{
    if (!source.modified || !destination.modified)
        return std::nullopt;
    if (*source.modified == *destination.modified)
        return RowRule::EqualDates;
    return *source.modified > dLastReplicate || *destination.modified > dLastReplicate
               ? std::nullopt
               : std::optional(RowRule::UnchangedOnBoth);
}

} // namespace

RowDecision decideListedRow(const MethodPlan& plan, Site site, const RowCopy& source, const RowCopy& destination,
                            DATE dLastReplicate)
{
    if (const auto rule = notLookedFor(plan, source, destination))
        return by(*rule);
    if (source.exists && destination.exists)
        return source.modified && destination.modified
                   ? decideCommon(plan, site, *source.modified, *destination.modified, dLastReplicate)
                   : by(RowRule::UndatedOnBoth);
    const RowCopy& only = source.exists ? source : destination;
    if (!only.modified)
        return by(RowRule::UndatedOnOne);
    const Modified modified = modifiedSince(*only.modified, dLastReplicate);
    return by(source.exists ? sourceOnly(plan, site, modified) : destinationOnly(plan, site, modified));
}

RowDecision decideRow(const MethodPlan& plan, Site site, const RowCopy& source, const RowCopy& destination,
                      DATE dLastReplicate)
{
    if (plan.engine == Engine::FullCopy || plan.engine == Engine::ComputerType)
        return by(RowRule::FullCopy);
    if (const auto rule = passedOver(source, destination, dLastReplicate); rule && plan.copiesRows)
        return by(*rule);
    return decideListedRow(plan, site, source, destination, dLastReplicate);
}
