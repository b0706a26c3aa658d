#include "review/marked_text.h"

#include "review/difference.h"

#include <chrono>
#include <gtest/gtest.h>
#include <random>

namespace {

struct Marked
{
    const char* name;
    const char* left;
    const char* right;
    /// With what differs between brackets.
    const char* leftShown;
    const char* rightShown;
};

const Marked kMarked[] = {
    {"Words", "set at the office today", "set at the laptop today", "set at the [office] today",
     "set at the [laptop] today"},
    {"WordsFarApart", "The old crown on 12 holds", "The new crown on 13 holds", "The [old] crown on [12] holds",
     "The [new] crown on [13] holds"},
    {"NeighboursAsOne", "Mr. Paul Beck, Ulm", "Mr. Anna Berg, Ulm", "Mr. [Paul Beck], Ulm", "Mr. [Anna Berg], Ulm"},
    {"WordsThatOneSideHas", "call again", "call her again soon", "call again", "call [her ]again[ soon]"},
    {"DaysWithTheirTimes", "due 3/1/2026 6:00:00 PM!", "due 3/1/2026 7:00:00 PM!", "due [3/1/2026 6:00:00 PM]!",
     "due [3/1/2026 7:00:00 PM]!"},
    {"DaysOfTheStandard", "2026-11-21 07:30", "2026-11-22 07:30", "[2026-11-21 07:30]", "[2026-11-22 07:30]"},
    {"Numbers", "fee -1,234.50 in all", "fee 1,234.50 in all", "fee [-1,234.50] in all", "fee [1,234.50] in all"},
    {"TruthValues", "True", "False", "[True]", "[False]"},
    {"CharactersOfManyBytes", "Jörg Müller", "Jürg Müller", "[Jörg] Müller", "[Jürg] Müller"},
    {"LongWordsByTheirCharacters", "0123456789012345678901234567890123456789é5",
     "0123456789012345678901234567890123456789è5", "0123456789012345678901234567890123456789[é]5",
     "0123456789012345678901234567890123456789[è]5"},
    {"LineEnds", "one\r\ntwo", "one\ntwo", "one[␍↵\n]two", "one[↵\n]two"},
    {"Blanks", "one", "one \t", "one", "one[·→\t]"},
    {"Equal", "the same", "the same", "the same", "the same"},
    {"AgainstNothing", "", "new", "", "[new]"},
    {"Markup", "<b>&amp;", "<i>&amp;", "&lt;[b]&gt;&amp;amp;", "&lt;[i]&gt;&amp;amp;"},
};

std::string withBrackets(std::string html)
{
    for (const auto& [tag, bracket] : {std::pair("<mark>", "["), std::pair("</mark>", "]")})
        for (size_t at = html.find(tag); at != std::string::npos; at = html.find(tag))
            html.replace(at, std::string_view(tag).size(), bracket);
    return html;
}

class MarkedText : public testing::TestWithParam<Marked>
{
};

std::string repeated(const std::string& text, size_t count)
{
    std::string result;
    while (count-- > 0)
        result += text;
    return result;
}

} // namespace

TEST_P(MarkedText, ShowsWhatDiffers)
{
    const auto [left, right] = markDifferences(GetParam().left, GetParam().right);
    EXPECT_EQ(withBrackets(left), GetParam().leftShown);
    EXPECT_EQ(withBrackets(right), GetParam().rightShown);
}

INSTANTIATE_TEST_SUITE_P(, MarkedText, testing::ValuesIn(kMarked),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(LongEqualText, IsFoldedBetweenWordsAndCounted)
{
    const std::string text = repeated("größer ", 100);
    const auto [left, right] = markDifferences(text + "A " + text, text + "B " + text);
    const std::string fold = repeated("größer ", 11) + "größer<details><summary>… 533 characters equal …</summary> " +
                             repeated("größer ", 76) + "</details>" + repeated("größer ", 12);
    EXPECT_EQ(left, fold + "<mark>A</mark> " + fold);
    EXPECT_EQ(right, fold + "<mark>B</mark> " + fold);
}

TEST(LongEqualText, IsShownWhereFoldingWouldSaveLittle)
{
    const std::string text = repeated("0123456789", 32);
    EXPECT_EQ(markDifferences(text, text).left, text);
    EXPECT_NE(markDifferences(text + "0", text + "0").left, text + "0");
}

TEST(TextOfAMegabyte, IsComparedInTimeHoweverMuchDiffers)
{
    std::mt19937 random(7);
    const auto text = [&](unsigned words) {
        std::string result;
        while (result.size() < 1'000'000)
            result += std::to_string(random() % words) + " ";
        return result;
    };
    const std::string some = text(1000);
    std::string changed = some;
    for (size_t at = 1000; at < changed.size(); at += 10'000)
        changed[at] = 'x';
    const auto marks = [](const std::string& left, const std::string& right) {
        const auto begin = std::chrono::steady_clock::now();
        size_t count = 0;
        for (const TextPart& part : findDifferences(left, right))
            count += part.equal ? 0 : 1;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
        return count;
    };
    EXPECT_EQ(marks(some, changed), 100U);
    EXPECT_EQ(marks(some, text(1000)), 1U);
    EXPECT_EQ(marks(repeated("a ", 500'000), repeated("b ", 500'000)), 1U);
    EXPECT_EQ(marks(std::string(1'000'000, 'a'), std::string(1'000'000, 'b')), 1U);
}
