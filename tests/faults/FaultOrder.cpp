#include "FaultOrder.h"

#include <algorithm>
#include <numeric>
#include <random>

namespace {

std::vector<size_t> shuffled(size_t count, std::mt19937& random)
{
    std::vector<size_t> numbers(count);
    std::iota(numbers.begin(), numbers.end(), size_t{0});
    std::ranges::shuffle(numbers, random);
    return numbers;
}

} // namespace

FaultOrder::FaultOrder(const std::vector<size_t>& bucketSizes, unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<std::vector<size_t>> buckets;
    for (const size_t size : bucketSizes)
        buckets.push_back(shuffled(size, random));
    const std::vector<size_t> turn = shuffled(buckets.size(), random);
    const size_t total = std::accumulate(bucketSizes.begin(), bucketSizes.end(), size_t{0});
    for (size_t round = 0; faults_.size() < total; ++round)
        for (const size_t bucket : turn)
            if (round < buckets[bucket].size())
                faults_.emplace_back(bucket, buckets[bucket][round]);
}

size_t FaultOrder::attempt(size_t first, const std::function<bool()>& mayGoOn,
                           const std::function<void(const Fault&)>& fault) const
{
    size_t place = first;
    for (; place <= total() && mayGoOn(); ++place)
        fault(at(place));
    return place;
}
