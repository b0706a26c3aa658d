#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

/// All faults in an order that a seed fixes, so that consecutive nights try each of them once. Faults lie in buckets,
/// one for each kind in each scenario; in each turn comes one of every bucket that has some left, so that any stretch
/// of the order is a sample of all.
class FaultOrder
{
public:
    /// A bucket and the place in it, both from 0.
    using Fault = std::pair<size_t, size_t>;

    FaultOrder(const std::vector<size_t>& bucketSizes, unsigned seed);

    size_t total() const { return faults_.size(); }
    const Fault& at(size_t place) const { return faults_.at(place - 1); }

    /// Tries the faults from the place `first` on (places count from 1) to the end, but stops before a fault when
    /// `mayGoOn` says so; the place of the first fault that was not tried, which is after the last when all were.
    size_t attempt(size_t first, const std::function<bool()>& mayGoOn,
                   const std::function<void(const Fault&)>& fault) const;

private:
    std::vector<Fault> faults_;
};
