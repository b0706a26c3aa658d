#pragma once

#include <string_view>
#include <vector>

/// A part of two texts that are compared: the same in both, or what each has there of its own, of which one may be
/// empty.
struct TextPart
{
    bool equal;
    std::string_view left;
    std::string_view right;
};

/// Two texts as parts that are equal and differ in turns, compared word by word. Words, numbers, and days with their
/// times are whole, but for long words without spaces. Characters of UTF-8 are never cut. Texts with more than a
/// thousand changed words differ in one part, from the first to the last change.
std::vector<TextPart> findDifferences(std::string_view left, std::string_view right);

/// Whether a character of UTF-8 goes on with this byte.
constexpr bool isContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}
