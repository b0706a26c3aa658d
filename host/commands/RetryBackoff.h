#pragma once

#include <algorithm>
#include <chrono>
#include <utility>

/// Pauses between attempts that fail: each twice as long as the one before, up to a longest.
class RetryBackoff
{
public:
    using Seconds = std::chrono::seconds;
    static constexpr Seconds kFirst{5};
    static constexpr Seconds kLongest{600};

    Seconds next() { return std::exchange(next_, std::min(next_ * 2, kLongest)); }
    void reset() { next_ = kFirst; }

private:
    Seconds next_ = kFirst;
};
