#include "Results.h"

#include <gtest/gtest.h>

namespace {

class ResultFile : public testing::Test
{
protected:
    std::string text() const { return contentOf(file_); }

    const TemporaryFolder folder_;
    const std::wstring file_ = folder_.file(L"results.txt");
    Results results_{file_, L"p\u00e4ss"};
};

TEST_F(ResultFile, HasEachProgramAndTheSumInItsLastLine)
{
    results_.add("first", {.passed = 2, .skipped = {"Rows.Third: needs a display"}});
    EXPECT_TRUE(results_.sayWhetherPassed());
    EXPECT_EQ(text(), "first: 2 passed, 1 skipped, 0 failed\r\n  skipped Rows.Third: needs a display\r\n"
                      "PASSED: 2 tests of 1 programs have passed, 1 were skipped\r\n");
}

TEST_F(ResultFile, NamesTheProgramsThatFailed)
{
    results_.add("first", {.passed = 2});
    results_.add("second", {.failed = {"Rows.First\nActual: 2\n"}});
    EXPECT_FALSE(results_.sayWhetherPassed());
    EXPECT_EQ(text(), "first: 2 passed, 0 skipped, 0 failed\r\n"
                      "second: 0 passed, 0 skipped, 1 failed\r\n  FAILED Rows.First\r\nActual: 2\r\n\r\n"
                      "FAILED: 2 tests of 2 programs have passed, 0 were skipped; failed: second\r\n");
}

TEST_F(ResultFile, FailsWhenNothingWasTested)
{
    results_.add("first", {.skipped = {"all: needs PostgreSQL"}});
    EXPECT_FALSE(results_.sayWhetherPassed());
}

TEST_F(ResultFile, HasNoPassword)
{
    results_.say("PWD=p\xC3\xA4ss;");
    results_.add("first", {.failed = {"PWD=p\xE4ss;"}});
    EXPECT_EQ(text(), "PWD=***;\r\nfirst: 0 passed, 0 skipped, 1 failed\r\n  FAILED PWD=***;\r\n");
}

} // namespace
