#include "conflicts/resolution_policy.h"

#include <gtest/gtest.h>
#include <string>

using namespace quinmark;

namespace {

using Step = ResolutionStep;

struct ResolutionCase
{
    const char* name;
    long iResolutionType;
    long iConflictType;
    Step atOffices;
    Step atLaptop;
};

constexpr ResolutionCase kCases[] = {
    {"SourceChangedOnBoth", USE_SOURCE, CHANGED_ON_BOTH, Step::Keep, Step::CopyFromSource},
    {"SourceNewOnSource", USE_SOURCE, NEW_ON_source, Step::Keep, Step::Keep},
    {"SourceNewOnDestination", USE_SOURCE, NEW_ON_DEST, Step::Keep, Step::Keep},
    {"SourceChangedOnDestination", USE_SOURCE, CHANGED_ON_DEST, Step::Keep, Step::Keep},
    {"SourceDeletedOnSource", USE_SOURCE, DELETED_ON_SOURCE, Step::Keep, Step::DeleteAtDestination},
    {"SourceUnknownConflict", USE_SOURCE, 0, Step::Keep, Step::Keep},
    {"DestinationChangedOnBoth", USE_DESTINATION, CHANGED_ON_BOTH, Step::RefuseToReplicateBack,
     Step::AcceptDestination},
    {"DestinationNewOnSource", USE_DESTINATION, NEW_ON_source, Step::RefuseToReplicateBack, Step::AcceptDestination},
    {"DestinationNewOnDestination", USE_DESTINATION, NEW_ON_DEST, Step::RefuseToReplicateBack, Step::AcceptDestination},
    {"DestinationChangedOnDestination", USE_DESTINATION, CHANGED_ON_DEST, Step::RefuseToReplicateBack,
     Step::AcceptDestination},
    {"DestinationDeletedOnSource", USE_DESTINATION, DELETED_ON_SOURCE, Step::RefuseToReplicateBack,
     Step::AcceptDestination},
    {"LaterChangedOnBoth", WORK_LATER, CHANGED_ON_BOTH, Step::Keep, Step::Keep},
    {"LaterDeletedOnSource", WORK_LATER, DELETED_ON_SOURCE, Step::Keep, Step::Keep},
    {"NeverSet", 0, CHANGED_ON_BOTH, Step::RefuseUnknown, Step::RefuseUnknown},
    {"Four", 4, CHANGED_ON_BOTH, Step::RefuseUnknown, Step::RefuseUnknown},
    {"Negative", -1, DELETED_ON_SOURCE, Step::RefuseUnknown, Step::RefuseUnknown},
};

class ResolutionPolicy : public testing::TestWithParam<ResolutionCase>
{
};

TEST_P(ResolutionPolicy, IsDecidedBySiteResolutionAndKind)
{
    const ResolutionCase& given = GetParam();
    EXPECT_EQ(decideResolution(OFFICES, given.iResolutionType, given.iConflictType), given.atOffices);
    EXPECT_EQ(decideResolution(LAPTOP, given.iResolutionType, given.iConflictType), given.atLaptop);
}

INSTANTIATE_TEST_SUITE_P(Matrix, ResolutionPolicy, testing::ValuesIn(kCases),
                         [](const auto& info) { return info.param.name; });

} // namespace
