#include "review/difference.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace {

constexpr std::string_view kSpaces = " \t\r\n";
/// Longer words are compared by characters: keys, addresses, and languages that put no spaces between words.
constexpr size_t kLongWord = 32;
/// Words that are taken out and put in. The time grows with the number of words times this, the memory with its square.
constexpr int kMaxEdits = 1000;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isOfWord(char c)
{
    return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || (c & 0x80) != 0;
}

/// Whether `text[index]` joins two digits to one number, day or time, or two letters to one word.
bool joins(std::string_view text, size_t index)
{
    if (index == 0 || index + 1 >= text.size())
        return false;
    const char before = text[index - 1];
    const char after = text[index + 1];
    return isDigit(before) && isDigit(after) ? std::string_view(".,:/-").find(text[index]) != std::string_view::npos
                                             : text[index] == '\'' && isOfWord(before) && isOfWord(after);
}

size_t plainWordLength(std::string_view text)
{
    size_t length = text.size() > 1 && (text[0] == '-' || text[0] == '+') && isDigit(text[1]) ? 1 : 0;
    while (length < text.size() && (isOfWord(text[length]) || joins(text, length)))
        ++length;
    return length;
}

/// With " AM" or " PM" after it.
size_t timeLength(std::string_view text)
{
    const size_t length = plainWordLength(text);
    if (!isDigit(text.front()) || text.substr(0, length).find(':') == std::string_view::npos)
        return 0;
    const std::string_view half = text.substr(length, 3);
    return half == " AM" || half == " PM" ? length + half.size() : length;
}

/// The length of what is one in a comparison: a word or number, a day with its time, blanks, a line's end, or another
/// character.
size_t wordLength(std::string_view text)
{
    if (const size_t time = timeLength(text))
        return time;
    if (const size_t length = plainWordLength(text)) {
        const bool mayBeDay = isDigit(text.front()) && text.substr(0, length).find_first_of("/-.") < length;
        return mayBeDay && length + 1 < text.size() && text[length] == ' '
                   ? length + (timeLength(text.substr(length + 1)) == 0 ? 0 : 1 + timeLength(text.substr(length + 1)))
                   : length;
    }
    if (text.starts_with("\r\n"))
        return 2;
    const size_t blanks = std::min(text.find_first_not_of(" \t"), text.size());
    return std::max<size_t>(blanks, 1);
}

std::vector<std::string_view> wordsOf(std::string_view text)
{
    std::vector<std::string_view> words;
    for (size_t at = 0; at < text.size(); at += words.back().size())
        words.push_back(text.substr(at, wordLength(text.substr(at))));
    return words;
}

/// Both must stand beside each other in one text.
std::string_view together(std::string_view first, std::string_view second)
{
    if (first.empty() || second.empty())
        return first.empty() ? second : first;
    return {first.data(), second.data() + second.size()};
}

TextPart together(const TextPart& first, const TextPart& second)
{
    return {first.equal && second.equal, together(first.left, second.left), together(first.right, second.right)};
}

/// Adds a part to those before it; neighbours of one kind become one.
void add(std::vector<TextPart>& parts, const TextPart& part)
{
    if (part.left.empty() && part.right.empty())
        return;
    if (parts.empty() || parts.back().equal != part.equal)
        parts.push_back(part);
    else
        parts.back() = together(parts.back(), part);
}

/// Two texts as lists of numbers, the same number for the same word.
class Words
{
public:
    Words(std::string_view left, std::string_view right) : left_(wordsOf(left)), right_(wordsOf(right))
    {
        const size_t shorter = std::min(left_.size(), right_.size());
        while (begin_ < shorter && left_[begin_] == right_[begin_])
            ++begin_;
        while (end_ < shorter - begin_ && left_[left_.size() - 1 - end_] == right_[right_.size() - 1 - end_])
            ++end_;
        std::unordered_map<std::string_view, int> numbers;
        const auto numbered = [&](const std::vector<std::string_view>& words) {
            std::vector<int> result;
            for (size_t index = begin_; index < words.size() - end_; ++index)
                result.push_back(numbers.try_emplace(words[index], static_cast<int>(numbers.size())).first->second);
            return result;
        };
        a_ = numbered(left_);
        b_ = numbered(right_);
    }

    /// The parts in turns; equal ones are the same words.
    std::vector<TextPart> parts() const
    {
        std::vector<TextPart> parts;
        size_t x = 0;
        size_t y = 0;
        const auto upTo = [&](bool equal, size_t toX, size_t toY) {
            add(parts, {equal, joined(left_, x, toX), joined(right_, y, toY)});
            x = toX;
            y = toY;
        };
        upTo(true, begin_, begin_);
        for (const auto& [equalX, equalY, length] : equalRuns()) {
            upTo(false, begin_ + equalX, begin_ + equalY);
            upTo(true, x + length, y + length);
        }
        upTo(false, left_.size() - end_, right_.size() - end_);
        upTo(true, left_.size(), right_.size());
        return parts;
    }

private:
    struct Run
    {
        int x;
        int y;
        int length;
    };

    static std::string_view joined(const std::vector<std::string_view>& words, size_t from, size_t to)
    {
        return from == to ? std::string_view()
                          : std::string_view(words[from].data(), words[to - 1].data() + words[to - 1].size());
    }

    /// The words that both have, by Myers's greedy algorithm: reached[d][k + d] is how far the left text is read after
    /// d edits that have left it k words ahead. None when there are too many edits.
    std::vector<Run> equalRuns() const
    {
        const int n = static_cast<int>(a_.size());
        const int m = static_cast<int>(b_.size());
        std::vector<std::vector<int>> reached;
        for (int d = 0; d <= std::min(kMaxEdits, n + m); ++d) {
            reached.emplace_back(2 * static_cast<size_t>(d) + 1);
            for (int k = -d; k <= d; k += 2) {
                int x = d == 0 ? 0 : beforeEqual(reached, d, k);
                while (x < n && x - k < m && a_[x] == b_[x - k])
                    ++x;
                reached[d][k + d] = x;
                if (x >= n && x - k >= m)
                    return runsBackFrom(reached, d, k);
            }
        }
        return {};
    }

    /// Whether the d-th edit that leads to `k` puts a word in, and does not take one out.
    static bool putsIn(const std::vector<std::vector<int>>& reached, int d, int k)
    {
        return k == -d || (k != d && reached[d - 1][k + d - 2] < reached[d - 1][k + d]);
    }

    static int beforeEqual(const std::vector<std::vector<int>>& reached, int d, int k)
    {
        return putsIn(reached, d, k) ? reached[d - 1][k + d] : reached[d - 1][k + d - 2] + 1;
    }

    static std::vector<Run> runsBackFrom(const std::vector<std::vector<int>>& reached, int d, int k)
    {
        std::vector<Run> runs;
        for (; d >= 0; --d) {
            const int from = d == 0 ? 0 : beforeEqual(reached, d, k);
            if (const int length = reached[d][k + d] - from; length > 0)
                runs.push_back({from, from - k, length});
            if (d > 0)
                k += putsIn(reached, d, k) ? 1 : -1;
        }
        std::ranges::reverse(runs);
        return runs;
    }

    std::vector<std::string_view> left_;
    std::vector<std::string_view> right_;
    /// How many words are equal at the beginning and at the end.
    size_t begin_ = 0;
    size_t end_ = 0;
    /// The words between.
    std::vector<int> a_;
    std::vector<int> b_;
};

/// Blanks or punctuation within a line.
bool isGap(const TextPart& part)
{
    return part.equal && std::ranges::none_of(part.left, [](char c) { return isOfWord(c) || c == '\n' || c == '\r'; });
}

/// Joins changes that stand a gap apart, so that two changed words are one change. Where nothing but the gap would be
/// left on a side, it stays as it is.
std::vector<TextPart> joinedChanges(const std::vector<TextPart>& parts)
{
    std::vector<TextPart> joined;
    for (const TextPart& part : parts) {
        const size_t count = joined.size();
        if (count > 1 && !part.equal && isGap(joined.back())) {
            const TextPart& before = joined[count - 2];
            if ((!before.left.empty() || !part.left.empty()) && (!before.right.empty() || !part.right.empty())) {
                joined[count - 2] = together(before, together(joined.back(), part));
                joined.pop_back();
                continue;
            }
        }
        joined.push_back(part);
    }
    return joined;
}

/// Adds a change; that of a long word without what both begin and end with.
void addChange(std::vector<TextPart>& parts, const TextPart& change)
{
    const auto& [equal, left, right] = change;
    const size_t shorter = std::min(left.size(), right.size());
    size_t begin = 0;
    size_t end = 0;
    const auto hasSpace = [](std::string_view text) { return text.find_first_of(kSpaces) != std::string_view::npos; };
    if (std::max(left.size(), right.size()) > kLongWord && !hasSpace(left) && !hasSpace(right)) {
        const auto cuts = [](std::string_view text, size_t at) { return at < text.size() && isContinuation(text[at]); };
        while (begin < shorter && left[begin] == right[begin])
            ++begin;
        while (begin > 0 && (cuts(left, begin) || cuts(right, begin)))
            --begin;
        while (end < shorter - begin && left[left.size() - 1 - end] == right[right.size() - 1 - end])
            ++end;
        while (end > 0 && isContinuation(left[left.size() - end]))
            --end;
    }
    const auto middle = [&](std::string_view text) { return text.substr(begin, text.size() - begin - end); };
    add(parts, {true, left.substr(0, begin), right.substr(0, begin)});
    add(parts, {false, middle(left), middle(right)});
    add(parts, {true, left.substr(left.size() - end), right.substr(right.size() - end)});
}

} // namespace

std::vector<TextPart> findDifferences(std::string_view left, std::string_view right)
{
    std::vector<TextPart> parts;
    for (const TextPart& part : joinedChanges(Words(left, right).parts())) {
        if (part.equal)
            add(parts, part);
        else
            addChange(parts, part);
    }
    return parts;
}
