#include "RowDecision.h"

#include <gtest/gtest.h>
#include <string>

using namespace quinmark;

namespace {

constexpr DATE kLast = 46341.5;
constexpr RowCopy kNone{};
const RowCopy kOld{true, kLast - 1};
const RowCopy kNew{true, kLast + 1};
const RowCopy kNewer{true, kLast + 2};
const RowCopy kUndated{true, std::nullopt};

struct DecisionCase
{
    const char* name;
    MethodPlan plan;
    RowCopy source;
    RowCopy destination;
    RowDecision atOffices;
    RowDecision atLaptop;
};

constexpr RowDecision kLeave{};
constexpr RowDecision kFail{RowAction::Fail};
constexpr RowDecision kUpdate{RowAction::UpdateDestination};
constexpr RowDecision kInsert{RowAction::InsertIntoDestination};
constexpr RowDecision kDelete{RowAction::DeleteAtDestination};
constexpr RowDecision kUpdateSource{RowAction::UpdateSource};
constexpr RowDecision kInsertIntoSource{RowAction::InsertIntoSource};

RowDecision reports(enumConflictType kind)
{
    return {.action = RowAction::ReportConflict, .conflict = kind};
}

RowDecision announces(RowAction action)
{
    return {.action = action, .announced = true};
}

const MethodPlan kOneWay = planOf(ONE_WAY);
const MethodPlan kDeletes = planOf(ONE_WAY_ALLOW_DELETES);
const MethodPlan kTwoWay = planOf(TWO_WAY);
const MethodPlan kSkips = planOf(ONE_WAY_WITH_PK_FIELD, SKIP_DELETES);
const MethodPlan kOnly = planOf(ONE_WAY_WITH_PK_FIELD, ONLY_DELETES);

const DecisionCase kDecisions[] = {
    {"OneWaySourceNewer", kOneWay, kNew, kOld, kUpdate, kUpdate},
    {"OneWayDestinationNewer", kOneWay, kOld, kNew, reports(CHANGED_ON_DEST), kLeave},
    {"OneWayBothChanged", kOneWay, kNew, kNewer, reports(CHANGED_ON_BOTH), reports(CHANGED_ON_BOTH)},
    {"OneWaySourceOnlyNew", kOneWay, kNew, kNone, kInsert, kInsert},
    {"OneWaySourceOnlyOld", kOneWay, kOld, kNone, reports(NEW_ON_source), kLeave},
    {"OneWayDestinationOnlyNew", kOneWay, kNone, kNew, reports(NEW_ON_DEST), kLeave},
    {"OneWayDestinationOnlyOld", kOneWay, kNone, kOld, reports(NEW_ON_DEST), reports(DELETED_ON_SOURCE)},
    {"WithDeletesDestinationOnlyOld", kDeletes, kNone, kOld, kDelete, reports(DELETED_ON_SOURCE)},
    {"KeyFieldThatSkipsDeletes", kSkips, kNone, kOld, kLeave, kLeave},
    {"KeyFieldOfDeletesOnlyLeavesChanges", kOnly, kNew, kOld, kLeave, kLeave},
    {"KeyFieldOfDeletesOnlyLeavesNewRows", kOnly, kNew, kNone, kLeave, kLeave},
    {"TwoWaySourceNewer", kTwoWay, kNew, kOld, kUpdate, kUpdate},
    {"TwoWayDestinationNewer", kTwoWay, kOld, kNew, kUpdateSource, kUpdateSource},
    {"TwoWayBothChanged", kTwoWay, kNew, kNewer, announces(RowAction::UpdateSource),
     announces(RowAction::UpdateSource)},
    {"TwoWaySameSecondIsAnnouncedAndLeft", kTwoWay, kNew, kNew, announces(RowAction::Leave),
     announces(RowAction::Leave)},
    {"TwoWaySourceOnlyOld", kTwoWay, kOld, kNone, announces(RowAction::InsertIntoDestination),
     announces(RowAction::InsertIntoDestination)},
    {"TwoWayDestinationOnlyNew", kTwoWay, kNone, kNew, kInsertIntoSource, kInsertIntoSource},
    {"SourceOnlyWithoutDate", kOneWay, kUndated, kNone, kFail, kFail},
    {"DestinationOnlyWithoutDate", kTwoWay, kNone, kUndated, kFail, kFail},
    {"CommonRowWithoutDate", kOneWay, kUndated, kNew, kLeave, kLeave},
    {"RowOfNeitherSide", kDeletes, kNone, kNone, kLeave, kLeave},
};

class RowDecisions : public testing::TestWithParam<DecisionCase>
{
protected:
    static void expect(Site site, const RowDecision& expected)
    {
        const RowDecision decision = decideRow(GetParam().plan, site, GetParam().source, GetParam().destination, kLast);
        EXPECT_EQ(decision.action, expected.action);
        EXPECT_EQ(decision.conflict, expected.conflict);
        EXPECT_EQ(decision.announced, expected.announced);
    }
};

} // namespace

TEST_P(RowDecisions, FollowMethodSiteAndDates)
{
    expect(Site::Offices, GetParam().atOffices);
    expect(Site::Laptop, GetParam().atLaptop);
}

INSTANTIATE_TEST_SUITE_P(, RowDecisions, testing::ValuesIn(kDecisions),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ListedRows, AreOneSidedOrDifferInADateAfterTheLastRun)
{
    const RowCopy older{true, kLast - 2};
    EXPECT_TRUE(isListed(kOld, kNone, kLast));
    EXPECT_TRUE(isListed(kNone, kUndated, kLast));
    EXPECT_TRUE(isListed(kOld, kNew, kLast));
    EXPECT_FALSE(isListed(kNew, kNew, kLast));
    EXPECT_FALSE(isListed(kOld, older, kLast));
    EXPECT_FALSE(isListed(kNew, kUndated, kLast));
    EXPECT_FALSE(isListed(kNone, kNone, kLast));
}
