#include "commands/Pauses.h"

#include <gtest/gtest.h>

TEST(PausesBetweenAttempts, DoubleUpToTheLongest)
{
    Pauses pauses;
    Pauses::Seconds previous = pauses.next();
    EXPECT_EQ(previous, Pauses::kFirst);
    for (int attempt = 0; attempt < 20; ++attempt) {
        const Pauses::Seconds next = pauses.next();
        EXPECT_EQ(next, std::min(previous * 2, Pauses::kLongest));
        previous = next;
    }
    EXPECT_EQ(previous, Pauses::kLongest);
}

TEST(PausesBetweenAttempts, BeginAnewAfterASuccess)
{
    Pauses pauses;
    pauses.next();
    pauses.next();
    pauses.reset();
    EXPECT_EQ(pauses.next(), Pauses::kFirst);
}
