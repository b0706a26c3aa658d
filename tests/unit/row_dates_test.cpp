#include "replication/row_dates.h"

#include "support/recording_error.h"

using namespace quinmark;

namespace {

constexpr DATE kDay = 46341.5; // 15 November 2026 at noon

DATE after(double seconds)
{
    return kDay + seconds / 86400;
}

TEST(SecondsApart, EachDateIsRoundedToTheNearestSecond)
{
    constexpr DATE kYear1489 = -150000;
    constexpr DATE kLastDay = 2958465; // 31 December 9999
    struct
    {
        DATE first;
        DATE second;
        long long apart;
    } const kCases[] = {
        {kDay, kDay, 0},
        {after(1), kDay, 1},
        {after(59), kDay, 59},
        {after(61), after(59), 2},
        {after(3601), after(3599), 2},
        {after(31536000), kDay, 31536000},
        {after(0.003), kDay, 0},
        {after(0.4), kDay, 0},
        {after(0.6), kDay, 1},
        {after(2.4), kDay, 2},
        {after(2.6), kDay, 3},
        {after(0.4), after(0.6), 1}, // less than a second, but on both sides of a boundary
        {0, 0, 0},
        // Before 30 December 1899 the time of day still counts forward: -1.25 is 6:00 on the day before.
        {-1.25, 0, 18 * 3600},
        {-1, 0, 86400},
        {kYear1489, kYear1489, 0},
        {kYear1489, kYear1489 - 0.5, 43200},
        {kLastDay, kLastDay - 1, 86400},
        {kLastDay + 0.5, kLastDay, 43200},
    };
    for (const auto& [first, second, apart] : kCases) {
        EXPECT_EQ(secondsApart(first, second), apart) << first << " " << second;
        EXPECT_EQ(secondsApart(second, first), apart) << first << " " << second;
    }
}

TEST(SecondsApart, AValueThatIsNoDateRaises5)
{
    for (const DATE date : {2958466.0, 5e6, -5e6}) {
        EXPECT_EQ(raised([&] { secondsApart(date, kDay); }).number, 5);
        EXPECT_EQ(raised([&] { secondsApart(kDay, date); }).number, 5);
    }
}

TEST(CompareDates, TwoSecondsCountAsEqualAndThreeDoNot)
{
    for (const double seconds : {0.0, 2.0, 2.4, 2.6, 3.0, 60.0}) {
        EXPECT_EQ(compareDates(after(seconds), kDay, kDay).equal, seconds < 2.5) << seconds;
        EXPECT_EQ(compareDates(kDay, after(seconds), kDay).equal, seconds < 2.5) << seconds;
    }
}

TEST(CompareDates, ToTheLastRunAndToEachOtherAreExact)
{
    const auto compared = [](DATE source, DATE destination) {
        const CommonDates dates = compareDates(source, destination, kDay);
        return std::vector<bool>{dates.sourceAfterLastRun, dates.destinationAfterLastRun, dates.sourceNewer,
                                 dates.destinationNewer};
    };
    EXPECT_EQ(compared(kDay, kDay), (std::vector{false, false, false, false})) << "the last run's own time";
    EXPECT_EQ(compared(after(0.003), after(-0.003)), (std::vector{true, false, true, false}));
    EXPECT_EQ(compared(after(-0.003), after(0.003)), (std::vector{false, true, false, true}));
    EXPECT_EQ(compared(after(10), after(5)), (std::vector{true, true, true, false}));
}

TEST(ModifiedSince, TheLastRunsOwnTimeCountsAsSince)
{
    EXPECT_EQ(modifiedSince(kDay, kDay), Modified::SinceLastRun);
    EXPECT_EQ(modifiedSince(after(0.003), kDay), Modified::SinceLastRun);
    EXPECT_EQ(modifiedSince(after(-0.003), kDay), Modified::BeforeLastRun);
    EXPECT_EQ(modifiedSince(0, kDay), Modified::BeforeLastRun);
}

} // namespace
