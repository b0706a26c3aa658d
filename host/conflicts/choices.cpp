#include "conflicts/choices.h"

#include "conflicts/resolution_policy.h"

using namespace quinmark;

namespace {

Choice impossible(enumResolution use, const std::string& why)
{
    return {use, false, Effect::Stays, "Not possible: " + why};
}

/// A conflict that waits stops a run that would delete or overwrite its row.
std::string whileItWaits(NextRun next)
{
    switch (next) {
    case NextRun::OverwritesDestination:
    case NextRun::OverwritesSource:
    case NextRun::DeletesAtDestination:
        return std::string(nextRunText(next)) + " It stops before that as long as the conflict waits.";
    default:
        return nextRunText(next);
    }
}

constexpr char kOtherKey[] =
    "the component finds rows by unid, and this table has another key. Make both sides equal in "
    "the practice's program, then dismiss the conflict.";

constexpr char kSaveAgain[] = "Save the record again at the source, then dismiss the conflict; the next run copies it.";

Choice copyFromSource(enumResolution use, const ConflictedRow& row)
{
    if (row.otherKey)
        return impossible(use, kOtherKey);
    if (row.numericKey)
        return impossible(use, "the component cannot take the source's row into a table with numeric keys. " +
                                   std::string(kSaveAgain));
    if (row.state == RowState::Unknown)
        return impossible(use, "the row cannot be read.");
    if (!row.source.row.exists)
        return impossible(use, "the source has no such row any more. " + std::string(nextRunText(row.next)));
    if (!row.destination.row.exists)
        return impossible(use, "the destination has no such row any more. " + std::string(kSaveAgain));
    return {use, true, Effect::Overwrites, "Copies the source's row over the destination's."};
}

Choice deleteAtDestination(enumResolution use, const ConflictedRow& row)
{
    if (row.otherKey)
        return impossible(use, kOtherKey);
    if (row.numericKey)
        return impossible(use, "the component cannot delete a row of a table with numeric keys. Delete the record at "
                               "the destination in the practice's program, then dismiss the conflict.");
    if (row.state == RowState::Unknown)
        return impossible(use, "the row cannot be read.");
    if (row.source.row.exists)
        return impossible(use, "the source has the row again. Dismiss the conflict.");
    return {use, true, Effect::Deletes, "Deletes the row at the destination too."};
}

/// Tells the next run's action and how to prevent it.
std::string atTheOffices(enumResolution use, const ConflictedRow& row)
{
    const std::string next = nextRunText(row.next);
    if (use == USE_SOURCE)
        return next + (row.source.row.exists && row.next != NextRun::OverwritesDestination
                           ? " To have the source's row at the destination: save the record again at the source, then "
                             "dismiss the conflict."
                           : " Dismiss the conflict to let it.");
    return next + (row.destination.row.exists
                       ? " To keep the destination's row: type its values in at the source, then dismiss the conflict."
                       : " To have the row nowhere: delete it at the source, then dismiss the conflict.");
}

Choice keep(enumReplicationUniqueId site, enumResolution use, const ConflictedRow& row)
{
    if (use == WORK_LATER)
        return {use, true, Effect::Stays, "Leaves the conflict in the list. " + whileItWaits(row.next)};
    if (site == OFFICES)
        return impossible(use, "the component copies nothing at the offices. " + atTheOffices(use, row));
    return impossible(use, "for this kind of conflict there is no row of the source to take over.");
}

} // namespace

Choice describeChoice(enumReplicationUniqueId site, enumResolution use, const ConflictedRow& row)
{
    switch (decideResolution(static_cast<short>(site), use, row.latest().kind)) {
    case ResolutionStep::CopyFromSource:
        return copyFromSource(use, row);
    case ResolutionStep::DeleteAtDestination:
        return deleteAtDestination(use, row);
    case ResolutionStep::AcceptDestination:
        return {use, true, Effect::Keeps,
                "Leaves the destination's row as it is and closes the conflict. " + std::string(nextRunText(row.next))};
    case ResolutionStep::Keep:
        return keep(site, use, row);
    case ResolutionStep::RefuseToReplicateBack:
        return impossible(use,
                          "at the offices the component does not copy back to the source. " + atTheOffices(use, row));
    case ResolutionStep::RefuseUnknown:
        break;
    }
    return impossible(use, "the component does not know this resolution.");
}

std::string describeDismissal(const ConflictedRow& row)
{
    return "Takes the conflict off the list and changes no row. " + std::string(nextRunText(row.next));
}

const char* useName(enumResolution use)
{
    switch (use) {
    case USE_SOURCE:
        return "source";
    case USE_DESTINATION:
        return "destination";
    default:
        return "later";
    }
}
