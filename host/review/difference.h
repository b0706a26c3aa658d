#pragma once

#include <string>
#include <string_view>

/// Where two texts differ: what both begin with, what is each one's own, and what both end with. Characters of UTF-8
/// are never cut.
struct Difference
{
    std::string_view begin;
    std::string_view left;
    std::string_view right;
    std::string_view end;
};

Difference findDifference(std::string_view left, std::string_view right);
