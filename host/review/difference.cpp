#include "review/difference.h"

#include <algorithm>

namespace {

bool isContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/// Whether a character begins at `index`, or the text ends there.
bool isBoundary(std::string_view text, size_t index)
{
    return index >= text.size() || !isContinuation(text[index]);
}

} // namespace

Difference findDifference(std::string_view left, std::string_view right)
{
    const size_t shorter = std::min(left.size(), right.size());
    size_t begin = 0;
    while (begin < shorter && left[begin] == right[begin])
        ++begin;
    while (begin > 0 && !(isBoundary(left, begin) && isBoundary(right, begin)))
        --begin;
    size_t end = 0;
    while (end < shorter - begin && left[left.size() - 1 - end] == right[right.size() - 1 - end])
        ++end;
    while (end > 0 && isContinuation(left[left.size() - end]))
        --end;
    return {left.substr(0, begin), left.substr(begin, left.size() - begin - end),
            right.substr(begin, right.size() - begin - end), left.substr(left.size() - end)};
}
