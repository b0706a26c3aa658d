#include "review/choices.h"

#include "conflicts/resolution_policy.h"

namespace {

const char* whyNothingHappens(enumReplicationUniqueId site)
{
    return site == LAPTOP ? "Not possible: for this kind of conflict there is no row of the source to take over; the "
                            "conflict would stay."
                          : "Not possible at the offices: nothing is copied from here; the conflict would stay.";
}

} // namespace

Choice describeChoice(enumReplicationUniqueId site, enumResolution use, long conflictType)
{
    switch (decideResolution(static_cast<short>(site), use, conflictType)) {
    case ResolutionStep::CopyFromSource:
        return {use, true, "Copies the source's row over the destination's."};
    case ResolutionStep::DeleteAtDestination:
        return {use, true, "Deletes the row at the destination too."};
    case ResolutionStep::AcceptDestination:
        return {use, true, "Leaves the destination's row as it is."};
    case ResolutionStep::Keep:
        return use == WORK_LATER ? Choice{use, true, "Leaves the conflict in the list."}
                                 : Choice{use, false, whyNothingHappens(site)};
    case ResolutionStep::RefuseToReplicateBack:
        return {use, false, "Not possible at the offices: the component refuses to replicate back."};
    case ResolutionStep::RefuseUnknown:
        break;
    }
    return {use, false, "Not possible: the component does not know this resolution."};
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
