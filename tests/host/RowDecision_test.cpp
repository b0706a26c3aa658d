#include "RowDecision.h"

#include <gtest/gtest.h>
#include <string>

using namespace quinmark;

namespace {

constexpr DATE kLast = 46341.5;
constexpr RowCopy kNone{};
const RowCopy kOlder{true, kLast - 2};
const RowCopy kOld{true, kLast - 1};
const RowCopy kNew{true, kLast + 1};
constexpr double kSecond = 1.0 / 86400;
const RowCopy kSameSecond{true, kLast + 1 + kSecond / 4};
const RowCopy kTwoSecondsLater{true, kLast + 1 + 2 * kSecond};
const RowCopy kNewer{true, kLast + 2};
const RowCopy kUndated{true, std::nullopt};

/// The decision, as the name of the rule and what a run does.
struct Decided
{
    const char* rule;
    NextRun action = NextRun::LeavesIt;
    /// The kind of a reported conflict.
    enumConflictType conflict = CHANGED_ON_BOTH;
    bool announced = false;
};

struct DecisionCase
{
    const char* name;
    MethodPlan plan;
    RowCopy source;
    RowCopy destination;
    Decided atOffices;
    Decided atLaptop;
};

constexpr Decided update(const char* rule)
{
    return {rule, NextRun::OverwritesDestination};
}

constexpr Decided insert(const char* rule)
{
    return {rule, NextRun::InsertsIntoDestination};
}

constexpr Decided reports(const char* rule, enumConflictType kind)
{
    return {rule, NextRun::ReportsIt, kind};
}

constexpr Decided announces(const char* rule, NextRun action)
{
    return {rule, action, CHANGED_ON_BOTH, true};
}

const MethodPlan kFull = planOf(ONE_WAY_DELETE_ALL);
const MethodPlan kOneWay = planOf(ONE_WAY);
const MethodPlan kDeletes = planOf(ONE_WAY_ALLOW_DELETES);
const MethodPlan kTwoWay = planOf(TWO_WAY);
const MethodPlan kNoDeletes = planOf(TWO_WAY_NO_DELETES);
const MethodPlan kSkips = planOf(ONE_WAY_WITH_PK_FIELD, SKIP_DELETES);
const MethodPlan kOnly = planOf(ONE_WAY_WITH_PK_FIELD, ONLY_DELETES);

const DecisionCase kDecisions[] = {
    {"FullCopy", kFull, kOld, kNew, {"F1", NextRun::Unknown}, {"F1", NextRun::Unknown}},
    {"OneWaySourceNewer", kOneWay, kNew, kOld, update("B4"), update("B4")},
    {"OneWayDestinationNewer", kOneWay, kOld, kNew, reports("B5", CHANGED_ON_DEST), {"B6"}},
    {"OneWayBothChanged", kOneWay, kNew, kNewer, reports("B2", CHANGED_ON_BOTH), reports("B3", CHANGED_ON_BOTH)},
    {"OneWayTwoSecondsApart", kOneWay, kNew, kTwoSecondsLater, {"B1"}, {"B1"}},
    {"OneWaySourceOnlyNew", kOneWay, kNew, kNone, insert("S1"), insert("S1")},
    {"OneWaySourceOnlyOld", kOneWay, kOld, kNone, reports("S2", NEW_ON_source), {"S3"}},
    {"OneWayDestinationOnlyNew", kOneWay, kNone, kNew, reports("D1", NEW_ON_DEST), {"D2"}},
    {"OneWayDestinationOnlyOld", kOneWay, kNone, kOld, reports("D4", NEW_ON_DEST), reports("D5", DELETED_ON_SOURCE)},
    {"WithDeletesDestinationOnlyOld",
     kDeletes,
     kNone,
     kOld,
     {"D3", NextRun::DeletesAtDestination},
     reports("D5", DELETED_ON_SOURCE)},
    {"KeyFieldThatSkipsDeletes", kSkips, kNone, kOld, {"K3"}, {"K3"}},
    {"KeyFieldOfDeletesOnlyLeavesChanges", kOnly, kNew, kOld, {"K4"}, {"K4"}},
    {"KeyFieldOfDeletesOnlyLeavesEqualDates", kOnly, kNew, kNew, {"K4"}, {"K4"}},
    {"KeyFieldOfDeletesOnlyLeavesNewRows", kOnly, kNew, kNone, {"K4"}, {"K4"}},
    {"TwoWaySourceNewer", kTwoWay, kNew, kOld, update("T3"), update("T3")},
    {"TwoWayDestinationNewer",
     kTwoWay,
     kOld,
     kNew,
     {"T4", NextRun::OverwritesSource},
     {"T4", NextRun::OverwritesSource}},
    {"TwoWayBothChanged", kTwoWay, kNew, kNewer, announces("T4", NextRun::OverwritesSource),
     announces("T4", NextRun::OverwritesSource)},
    {"TwoWaySameSecondIsAnnouncedAndLeft", kTwoWay, kNew, kSameSecond, announces("T2", NextRun::LeavesIt),
     announces("T2", NextRun::LeavesIt)},
    {"TwoWaySourceOnlyNew", kTwoWay, kNew, kNone, insert("T5"), insert("T5")},
    {"TwoWaySourceOnlyOld", kTwoWay, kOld, kNone, announces("T6", NextRun::InsertsIntoDestination),
     announces("T6", NextRun::InsertsIntoDestination)},
    {"NoDeletesSourceOnlyOld", kNoDeletes, kOld, kNone, announces("T7", NextRun::InsertsIntoDestination),
     announces("T7", NextRun::InsertsIntoDestination)},
    {"TwoWayDestinationOnlyNew",
     kTwoWay,
     kNone,
     kNew,
     {"T8", NextRun::InsertsIntoSource},
     {"T8", NextRun::InsertsIntoSource}},
    {"TwoWayDestinationOnlyOld", kTwoWay, kNone, kOld, announces("T9", NextRun::InsertsIntoSource),
     announces("T9", NextRun::InsertsIntoSource)},
    {"NoDeletesDestinationOnlyOld", kNoDeletes, kNone, kOld, announces("T10", NextRun::InsertsIntoSource),
     announces("T10", NextRun::InsertsIntoSource)},
    {"SourceOnlyWithoutDate", kOneWay, kUndated, kNone, {"L4", NextRun::Fails}, {"L4", NextRun::Fails}},
    {"DestinationOnlyWithoutDate", kTwoWay, kNone, kUndated, {"L4", NextRun::Fails}, {"L4", NextRun::Fails}},
    {"CommonRowWithoutDate", kOneWay, kUndated, kNew, {"L1"}, {"L1"}},
    {"EqualDates", kOneWay, kNew, kNew, {"L2"}, {"L2"}},
    {"BothBeforeTheLastRun", kTwoWay, kOld, kOlder, {"L3"}, {"L3"}},
    {"RowOfNeitherSide", kDeletes, kNone, kNone, {""}, {""}},
};

class RowDecisions : public testing::TestWithParam<DecisionCase>
{
protected:
    static void expect(Site site, const Decided& expected)
    {
        const RowDecision decision = decideRow(GetParam().plan, site, GetParam().source, GetParam().destination, kLast);
        EXPECT_STREQ(entryOf(decision.rule).id, expected.rule);
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

// A query may list a row of which the dates differ by less than a date can say.
TEST(ListedRows, AreDecidedWhateverTheirDates)
{
    const RowDecision decision = decideListedRow(kTwoWay, Site::Laptop, kNew, kNew, kLast);
    EXPECT_STREQ(entryOf(decision.rule).id, "T2");
    EXPECT_TRUE(decision.announced);
}
