#include "nearest.h"

#include <gtest/gtest.h>

TEST(NearestWord, IsTheOneInWhichFewLettersAreWrong)
{
    const std::vector<std::string> words = {"check", "conflicts", "preview", "review", "run", "status", "Zähne"};
    EXPECT_EQ(nearestWord("confilcts", words), "conflicts"); // exchanged
    EXPECT_EQ(nearestWord("conflict", words), "conflicts");  // missing
    EXPECT_EQ(nearestWord("runn", words), "run");            // too many
    EXPECT_EQ(nearestWord("stetus", words), "status");       // wrong
    EXPECT_EQ(nearestWord("CHEK", words), "check");
    EXPECT_EQ(nearestWord("zahne", words), "Zähne");
    EXPECT_EQ(nearestWord("reviw", words), "review") << "nearer than preview";
}

TEST(NearestWord, IsTheOneThatTheWordBegins)
{
    EXPECT_EQ(nearestWord("dest", {"source", "destination"}), "destination");
    EXPECT_EQ(nearestWord("de", {"source", "destination"}), "");
}

TEST(NearestWord, IsNoneForAStranger)
{
    const std::vector<std::string> words = {"check", "run", "on", "status"};
    for (const char* word : {"", "x", "no", "ran away", "nonsense", "statistics"})
        EXPECT_EQ(nearestWord(word, words), "") << word;
    EXPECT_EQ(nearestWord("check", {}), "");
}

TEST(NearestWord, IsAskedFor)
{
    EXPECT_EQ(didYouMean("chek", {"check"}), "; did you mean \"check\"?");
    EXPECT_EQ(didYouMean("nonsense", {"check"}), "");
}
