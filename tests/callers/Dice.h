#pragma once

#include <cstdint>
#include <initializer_list>
#include <random>

/// Chances that repeat from their seed.
class Dice
{
public:
    explicit Dice(std::uint64_t seed) : engine_(seed) {}

    /// 0 to `count` - 1.
    size_t below(size_t count) { return static_cast<size_t>(engine_() % count); }
    bool oneIn(size_t count) { return below(count) == 0; }
    std::uint64_t bits() { return engine_(); }

    template <class Value>
    Value oneOf(std::initializer_list<Value> values)
    {
        return values.begin()[below(values.size())];
    }

private:
    std::mt19937_64 engine_;
};

/// A seed for one part of a campaign, far from those of its neighbours.
inline std::uint64_t partSeed(std::uint64_t seed, std::uint64_t part)
{
    std::uint64_t mixed = seed * 0x9E3779B97F4A7C15U + part * 0xBF58476D1CE4E5B9U + 1;
    mixed ^= mixed >> 31;
    return mixed * 0x94D049BB133111EBU;
}
