#include "replication/row_policy.h"

#include <gtest/gtest.h>

using namespace quinmark;

namespace {

constexpr Site kSites[] = {Site::Offices, Site::Laptop};

TEST(CommonRowPolicy, IsDecidedBySiteAndDates)
{
    using enum CommonRow;
    struct
    {
        CommonDates dates; // equal, source after, destination after, source newer, destination newer
        CommonRow atOffices;
        CommonRow atLaptop;
    } constexpr kCases[] = {
        {{true, false, false, true, false}, LeaveEqualDates, LeaveEqualDates},
        {{true, true, false, true, false}, LeaveEqualDates, LeaveEqualDates},
        {{true, false, true, false, true}, LeaveEqualDates, LeaveEqualDates},
        {{true, true, true, true, false}, LeaveEqualDates, LeaveEqualDates},
        {{true, true, true, false, true}, LeaveEqualDates, LeaveEqualDates},
        {{true, true, true, false, false}, LeaveEqualDates, LeaveEqualDates},
        {{false, true, true, true, false}, ReportChangedOnBoth, ReportChangedOnBoth},
        {{false, true, true, false, true}, ReportChangedOnBoth, ReportChangedOnBoth},
        {{false, true, false, true, false}, Update, Update},
        {{false, false, false, true, false}, Update, Update},
        {{false, false, true, false, true}, ReportChangedOnDestination, LeaveDestinationNewer},
        {{false, false, false, false, true}, ReportChangedOnDestination, LeaveDestinationNewer},
    };
    for (const auto& given : kCases) {
        EXPECT_EQ(decideCommonRow(Site::Offices, given.dates), given.atOffices) << &given - kCases;
        EXPECT_EQ(decideCommonRow(Site::Laptop, given.dates), given.atLaptop) << &given - kCases;
    }
}

TEST(SourceOnlyPolicy, IsDecidedBySiteAndDate)
{
    using enum SourceOnlyRow;
    for (const Site site : kSites)
        EXPECT_EQ(decideSourceOnlyRow(site, Modified::SinceLastRun), Insert);
    EXPECT_EQ(decideSourceOnlyRow(Site::Offices, Modified::BeforeLastRun), ReportDeletedInDestination);
    EXPECT_EQ(decideSourceOnlyRow(Site::Laptop, Modified::BeforeLastRun), Leave);
}

TEST(DestinationOnlyPolicy, IsDecidedBySiteDateAndDeletes)
{
    using enum DestinationOnlyRow;
    for (const bool deletes : {false, true}) {
        EXPECT_EQ(decideDestinationOnlyRow(Site::Offices, Modified::SinceLastRun, deletes), ReportNew);
        EXPECT_EQ(decideDestinationOnlyRow(Site::Laptop, Modified::SinceLastRun, deletes), Leave);
        EXPECT_EQ(decideDestinationOnlyRow(Site::Laptop, Modified::BeforeLastRun, deletes), ReportDeletedFromSource);
    }
    EXPECT_EQ(decideDestinationOnlyRow(Site::Offices, Modified::BeforeLastRun, true), Delete);
    EXPECT_EQ(decideDestinationOnlyRow(Site::Offices, Modified::BeforeLastRun, false), ReportNewOrDeletedFromSource);
}

TEST(TwoWayPolicy, LaterRowWinsUnlessBothAreOfTheSameSecond)
{
    using enum TwoWayRow;
    EXPECT_EQ(decideTwoWayRow(true, true), Leave);
    EXPECT_EQ(decideTwoWayRow(true, false), Leave);
    EXPECT_EQ(decideTwoWayRow(false, true), UpdateDestination);
    EXPECT_EQ(decideTwoWayRow(false, false), UpdateSource);
}

} // namespace
