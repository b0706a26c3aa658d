#pragma once

#include <string>
#include <string_view>

/// Two texts as HTML: the differences of each from the other are marked, and long parts that are equal are folded.
struct MarkedTexts
{
    std::string left;
    std::string right;
};

MarkedTexts markDifferences(std::string_view left, std::string_view right);
