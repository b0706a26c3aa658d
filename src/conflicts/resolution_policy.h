#pragma once

#include "QuinmarkRepDLL.h"

namespace quinmark {

/// Decides how a conflict is resolved, by the site, the resolution and the kind of conflict. No I/O.

enum class ResolutionStep
{
    /// The conflict stays for later.
    Keep,
    CopyFromSource,
    DeleteAtDestination,
    /// The destination already holds the wanted row.
    AcceptDestination,
    RefuseToReplicateBack,
    RefuseUnknown,
};

/// USE_SOURCE copies data at a LAPTOP only, and only for what a copy or a deletion can settle.
constexpr ResolutionStep decideUseSource(short iReplicationUniqueId, long iConflictType)
{
    if (iReplicationUniqueId != LAPTOP)
        return ResolutionStep::Keep;
    if (iConflictType == CHANGED_ON_BOTH)
        return ResolutionStep::CopyFromSource;
    return iConflictType == DELETED_ON_SOURCE ? ResolutionStep::DeleteAtDestination : ResolutionStep::Keep;
}

constexpr ResolutionStep decideResolution(short iReplicationUniqueId, long iResolutionType, long iConflictType)
{
    switch (iResolutionType) {
    case USE_SOURCE:
        return decideUseSource(iReplicationUniqueId, iConflictType);
    case USE_DESTINATION:
        return iReplicationUniqueId == OFFICES ? ResolutionStep::RefuseToReplicateBack
                                               : ResolutionStep::AcceptDestination;
    case WORK_LATER:
        return ResolutionStep::Keep;
    default:
        return ResolutionStep::RefuseUnknown;
    }
}

} // namespace quinmark
