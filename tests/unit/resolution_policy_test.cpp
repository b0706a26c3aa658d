#include "conflicts/resolution_policy.h"

#include <gtest/gtest.h>

using namespace quinmark;

namespace {

using enum ResolutionStep;

struct ResolutionCase
{
    long iResolutionType;
    long iConflictType;
    ResolutionStep atOffices;
    ResolutionStep atLaptop;
};

constexpr ResolutionCase kCases[] = {
    {USE_SOURCE, CHANGED_ON_BOTH, Keep, CopyFromSource},
    {USE_SOURCE, NEW_ON_source, Keep, Keep},
    {USE_SOURCE, NEW_ON_DEST, Keep, Keep},
    {USE_SOURCE, CHANGED_ON_DEST, Keep, Keep},
    {USE_SOURCE, DELETED_ON_SOURCE, Keep, DeleteAtDestination},
    {USE_SOURCE, 0, Keep, Keep},
    {USE_DESTINATION, CHANGED_ON_BOTH, RefuseToReplicateBack, AcceptDestination},
    {USE_DESTINATION, NEW_ON_source, RefuseToReplicateBack, AcceptDestination},
    {USE_DESTINATION, NEW_ON_DEST, RefuseToReplicateBack, AcceptDestination},
    {USE_DESTINATION, CHANGED_ON_DEST, RefuseToReplicateBack, AcceptDestination},
    {USE_DESTINATION, DELETED_ON_SOURCE, RefuseToReplicateBack, AcceptDestination},
    {WORK_LATER, CHANGED_ON_BOTH, Keep, Keep},
    {WORK_LATER, DELETED_ON_SOURCE, Keep, Keep},
    {0, CHANGED_ON_BOTH, RefuseUnknown, RefuseUnknown},
    {4, CHANGED_ON_BOTH, RefuseUnknown, RefuseUnknown},
    {-1, DELETED_ON_SOURCE, RefuseUnknown, RefuseUnknown},
};

TEST(ResolutionPolicy, IsDecidedBySiteResolutionAndKind)
{
    for (const auto& [resolution, kind, atOffices, atLaptop] : kCases) {
        EXPECT_EQ(decideResolution(OFFICES, resolution, kind), atOffices) << resolution << " " << kind;
        EXPECT_EQ(decideResolution(LAPTOP, resolution, kind), atLaptop) << resolution << " " << kind;
    }
}

} // namespace
