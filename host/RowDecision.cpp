#include "RowDecision.h"

#include "replication/row_dates.h"

using namespace quinmark;

namespace {

RowDecision report(enumConflictType kind)
{
    return {.action = RowAction::ReportConflict, .conflict = kind};
}

RowDecision decideOneWayCommon(Site site, const CommonDates& dates)
{
    switch (decideCommonRow(site, dates)) {
    case CommonRow::Leave:
        break;
    case CommonRow::Update:
        return {RowAction::UpdateDestination};
    case CommonRow::ReportChangedOnBoth:
        return report(CHANGED_ON_BOTH);
    case CommonRow::ReportChangedOnDestination:
        return report(CHANGED_ON_DEST);
    }
    return {};
}

RowDecision decideTwoWayCommon(DATE source, DATE destination, DATE dLastReplicate)
{
    RowDecision decision{.announced = source > dLastReplicate && destination > dLastReplicate};
    switch (decideTwoWayRow(secondsApart(source, destination) == 0, source > destination)) {
    case TwoWayRow::Leave:
        break;
    case TwoWayRow::UpdateDestination:
        decision.action = RowAction::UpdateDestination;
        break;
    case TwoWayRow::UpdateSource:
        decision.action = RowAction::UpdateSource;
        break;
    }
    return decision;
}

RowDecision decideCommon(const MethodPlan& plan, Site site, DATE source, DATE destination, DATE dLastReplicate)
{
    return plan.engine == Engine::TwoWay ? decideTwoWayCommon(source, destination, dLastReplicate)
                                         : decideOneWayCommon(site, compareDates(source, destination, dLastReplicate));
}

RowDecision decideSourceOnly(const MethodPlan& plan, Site site, Modified modified)
{
    if (plan.engine == Engine::TwoWay)
        return {.action = RowAction::InsertIntoDestination, .announced = modified == Modified::BeforeLastRun};
    switch (decideSourceOnlyRow(site, modified)) {
    case SourceOnlyRow::Leave:
        break;
    case SourceOnlyRow::Insert:
        return {RowAction::InsertIntoDestination};
    case SourceOnlyRow::ReportDeletedInDestination:
        return report(NEW_ON_source);
    }
    return {};
}

RowDecision decideDestinationOnly(const MethodPlan& plan, Site site, Modified modified)
{
    if (plan.engine == Engine::TwoWay)
        return {.action = RowAction::InsertIntoSource, .announced = modified == Modified::BeforeLastRun};
    switch (decideDestinationOnlyRow(site, modified, plan.deletes)) {
    case DestinationOnlyRow::Leave:
        break;
    case DestinationOnlyRow::Delete:
        return {RowAction::DeleteAtDestination};
    case DestinationOnlyRow::ReportNew:
    case DestinationOnlyRow::ReportNewOrDeletedFromSource:
        return report(NEW_ON_DEST);
    case DestinationOnlyRow::ReportDeletedFromSource:
        return report(DELETED_ON_SOURCE);
    }
    return {};
}

} // namespace

RowDecision decideRow(const MethodPlan& plan, Site site, const RowCopy& source, const RowCopy& destination,
                      DATE dLastReplicate)
{
    const bool looks = source.exists ? plan.copiesRows : plan.looksForDeletedRows;
    if (!looks || (!source.exists && !destination.exists))
        return {};
    if (source.exists && destination.exists)
        return source.modified && destination.modified
                   ? decideCommon(plan, site, *source.modified, *destination.modified, dLastReplicate)
                   : RowDecision();
    const RowCopy& only = source.exists ? source : destination;
    if (!only.modified)
        return {RowAction::Fail};
    const Modified modified = modifiedSince(*only.modified, dLastReplicate);
    return source.exists ? decideSourceOnly(plan, site, modified) : decideDestinationOnly(plan, site, modified);
}

bool isListed(const RowCopy& source, const RowCopy& destination, DATE dLastReplicate)
{
    if (!source.exists || !destination.exists)
        return source.exists || destination.exists;
    return source.modified && destination.modified && *source.modified != *destination.modified &&
           (*source.modified > dLastReplicate || *destination.modified > dLastReplicate);
}
