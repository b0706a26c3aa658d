#include "commands/RetryBackoff.h"

#include <gtest/gtest.h>

TEST(RetryBackoffs, DoubleUpToTheLongest)
{
    RetryBackoff backoff;
    RetryBackoff::Seconds previous = backoff.next();
    EXPECT_EQ(previous, RetryBackoff::kFirst);
    for (int attempt = 0; attempt < 20; ++attempt) {
        const RetryBackoff::Seconds next = backoff.next();
        EXPECT_EQ(next, std::min(previous * 2, RetryBackoff::kLongest));
        previous = next;
    }
    EXPECT_EQ(previous, RetryBackoff::kLongest);
}

TEST(RetryBackoffs, BeginAnewAfterASuccess)
{
    RetryBackoff backoff;
    backoff.next();
    backoff.next();
    backoff.reset();
    EXPECT_EQ(backoff.next(), RetryBackoff::kFirst);
}
