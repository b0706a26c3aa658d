#include "replication/row_dates.h"

#include "support/recording_error.h"

using namespace quinmark;

namespace {

constexpr DATE kDay = 46341.5; // 15 November 2026 at noon
constexpr double kSecond = 1.0 / 86400;

DATE after(double seconds)
{
    return kDay + seconds * kSecond;
}

TEST(SecondsApart, WholeSecondsAreCounted)
{
    for (const int seconds : {0, 1, 2, 3, 59, 3600, 86400, 31536000}) {
        EXPECT_EQ(secondsApart(after(seconds), kDay), seconds);
        EXPECT_EQ(secondsApart(kDay, after(seconds)), seconds);
    }
}

TEST(SecondsApart, FractionsAreRoundedToTheNearestSecond)
{
    EXPECT_EQ(secondsApart(kDay, after(0.003)), 0);
    EXPECT_EQ(secondsApart(kDay, after(0.4)), 0);
    EXPECT_EQ(secondsApart(kDay, after(0.6)), 1);
    EXPECT_EQ(secondsApart(kDay, after(2.4)), 2);
    EXPECT_EQ(secondsApart(kDay, after(2.6)), 3);
    // Less than a second, but on both sides of a boundary.
    EXPECT_EQ(secondsApart(after(0.4), after(0.6)), 1);
}

TEST(SecondsApart, DatesBeforeTheFirstOneCountAsWell)
{
    EXPECT_EQ(secondsApart(0, 0), 0);
    // Before 30 December 1899 the time of day still counts forward: -1.25 is 6:00 on the day before.
    EXPECT_EQ(secondsApart(-1.25, 0), 18 * 3600);
    EXPECT_EQ(secondsApart(-1, 0), 86400);
}

TEST(SecondsApart, DatesBeforeTheYear1601CountAsWell)
{
    constexpr DATE kYear1489 = -150000;
    EXPECT_EQ(secondsApart(kYear1489, kYear1489), 0);
    EXPECT_EQ(secondsApart(kYear1489, kYear1489 - 0.5), 43200);
}

TEST(SecondsApart, LastDayCountsAsWell)
{
    constexpr DATE kLastDay = 2958465; // 31 December 9999
    EXPECT_EQ(secondsApart(kLastDay, kLastDay - 1), 86400);
    EXPECT_EQ(secondsApart(kLastDay + 0.5, kLastDay), 43200);
}

TEST(SecondsApart, WhatIsNoDateRaises5)
{
    EXPECT_EQ(raised([] { secondsApart(2958466, kDay); }).number, 5);
    EXPECT_EQ(raised([] { secondsApart(5e6, kDay); }).number, 5);
    EXPECT_EQ(raised([] { secondsApart(kDay, -5e6); }).number, 5);
}

TEST(CompareDates, TwoSecondsCountAsEqualAndThreeDoNot)
{
    for (const double seconds : {0.0, 1.0, 2.0, 2.4}) {
        EXPECT_TRUE(compareDates(after(seconds), kDay, kDay).equal) << seconds;
        EXPECT_TRUE(compareDates(kDay, after(seconds), kDay).equal) << seconds;
    }
    for (const double seconds : {2.6, 3.0, 60.0}) {
        EXPECT_FALSE(compareDates(after(seconds), kDay, kDay).equal) << seconds;
        EXPECT_FALSE(compareDates(kDay, after(seconds), kDay).equal) << seconds;
    }
}

TEST(CompareDates, TheLastRunsOwnTimeIsNotAfterIt)
{
    const CommonDates dates = compareDates(kDay, after(10), kDay);
    EXPECT_FALSE(dates.sourceAfterLastRun);
    EXPECT_TRUE(dates.destinationAfterLastRun);
    const CommonDates mirrored = compareDates(after(10), kDay, kDay);
    EXPECT_TRUE(mirrored.sourceAfterLastRun);
    EXPECT_FALSE(mirrored.destinationAfterLastRun);
}

TEST(CompareDates, AFractionOfASecondIsAfterTheLastRun)
{
    const CommonDates dates = compareDates(after(0.003), after(-0.003), kDay);
    EXPECT_TRUE(dates.sourceAfterLastRun);
    EXPECT_FALSE(dates.destinationAfterLastRun);
}

TEST(CompareDates, TheLaterDateIsTheNewerOne)
{
    const CommonDates source = compareDates(after(5), kDay, kDay);
    EXPECT_TRUE(source.sourceNewer);
    EXPECT_FALSE(source.destinationNewer);
    const CommonDates destination = compareDates(kDay, after(5), kDay);
    EXPECT_FALSE(destination.sourceNewer);
    EXPECT_TRUE(destination.destinationNewer);
    const CommonDates same = compareDates(kDay, kDay, kDay);
    EXPECT_FALSE(same.sourceNewer);
    EXPECT_FALSE(same.destinationNewer);
}

TEST(ModifiedSince, TheLastRunsOwnTimeCountsAsSince)
{
    EXPECT_EQ(modifiedSince(kDay, kDay), Modified::SinceLastRun);
    EXPECT_EQ(modifiedSince(after(0.003), kDay), Modified::SinceLastRun);
    EXPECT_EQ(modifiedSince(after(-0.003), kDay), Modified::BeforeLastRun);
    EXPECT_EQ(modifiedSince(after(-1), kDay), Modified::BeforeLastRun);
    EXPECT_EQ(modifiedSince(0, kDay), Modified::BeforeLastRun);
}

} // namespace
