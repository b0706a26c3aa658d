#include "nearest.h"

#include "com/convert.h"
#include "text.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace {

/// A beginning of fewer letters is that of too many words.
constexpr size_t kShortestBeginning = 3;

/// The fewest letters to be replaced, inserted, removed or exchanged with their neighbour to make one word the other
/// ("optimal string alignment").
size_t distance(const std::wstring& left, const std::wstring& right)
{
    std::vector<size_t> beforeLast;
    std::vector<size_t> last(right.size() + 1);
    std::iota(last.begin(), last.end(), size_t{0});
    for (size_t row = 1; row <= left.size(); ++row) {
        std::vector<size_t> line(right.size() + 1, row);
        for (size_t column = 1; column <= right.size(); ++column) {
            const bool same = left[row - 1] == right[column - 1];
            line[column] = std::min({last[column] + 1, line[column - 1] + 1, last[column - 1] + (same ? 0 : 1)});
            if (row > 1 && column > 1 && left[row - 1] == right[column - 2] && left[row - 2] == right[column - 1])
                line[column] = std::min(line[column], beforeLast[column - 2] + 1);
        }
        beforeLast = std::exchange(last, std::move(line));
    }
    return last.back();
}

} // namespace

std::string nearestWord(const std::string& word, const std::vector<std::string>& words)
{
    const std::wstring given = com::upperCase(toWide(word));
    std::string nearest;
    size_t least = given.size() / 3 + 1;
    for (const std::string& candidate : words) {
        const std::wstring known = com::upperCase(toWide(candidate));
        const bool begins = given.size() >= kShortestBeginning && known.starts_with(given);
        const size_t away = begins ? std::min<size_t>(1, known.size() - given.size()) : distance(given, known);
        if (away >= least || away >= given.size())
            continue;
        nearest = candidate;
        least = away;
    }
    return nearest;
}

std::string askWhether(const std::string& nearest)
{
    return nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?";
}

std::string didYouMean(const std::string& word, const std::vector<std::string>& words)
{
    return askWhether(nearestWord(word, words));
}
