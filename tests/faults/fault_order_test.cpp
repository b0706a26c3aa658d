#include "FaultOrder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using Faults = std::vector<FaultOrder::Fault>;

const std::vector<size_t> kBuckets = {7, 1, 0, 30, 12};

/// The faults of a night that has time for `count`; `first` becomes the place of the next night.
Faults night(unsigned seed, size_t& first, size_t count)
{
    Faults tried;
    first = FaultOrder(kBuckets, seed)
                .attempt(
                    first, [&] { return tried.size() < count; },
                    [&](const FaultOrder::Fault& fault) { tried.push_back(fault); });
    return tried;
}

} // namespace

TEST(FaultOrder, HasEachFaultOnce)
{
    size_t first = 1;
    Faults faults = night(4, first, 1000);
    Faults all;
    for (size_t bucket = 0; bucket < kBuckets.size(); ++bucket)
        for (size_t fault = 0; fault < kBuckets[bucket]; ++fault)
            all.emplace_back(bucket, fault);
    std::ranges::sort(faults);
    EXPECT_EQ(faults, all);
    EXPECT_EQ(first, 51U);
}

TEST(FaultOrder, IsTriedInConsecutiveNightsAsInOne)
{
    size_t first = 1;
    const Faults once = night(4, first, 1000);
    first = 1;
    Faults nights;
    for (const size_t count : {0U, 1U, 17U, 30U, 1000U})
        std::ranges::copy(night(4, first, count), std::back_inserter(nights));
    EXPECT_EQ(nights, once);
    EXPECT_EQ(first, 51U);
    EXPECT_TRUE(night(4, first, 1000).empty()) << "all have been tried";
}

TEST(FaultOrder, IsAnotherForAnotherSeed)
{
    size_t first = 1;
    const Faults four = night(4, first, 1000);
    first = 1;
    EXPECT_NE(night(5, first, 1000), four);
}

TEST(FaultOrder, TakesOneOfEachBucketInEveryTurn)
{
    size_t first = 1;
    Faults turn = night(4, first, 4);
    std::ranges::sort(turn);
    std::vector<size_t> buckets;
    for (const auto& [bucket, fault] : turn)
        buckets.push_back(bucket);
    EXPECT_EQ(buckets, (std::vector<size_t>{0, 1, 3, 4}));
}
