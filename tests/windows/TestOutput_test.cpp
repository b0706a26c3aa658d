#include "TestOutput.h"

#include <gtest/gtest.h>

namespace {

constexpr char kFinished[] = "[==========] 3 tests from 1 test suite ran. (9 ms total)\n[  PASSED  ] 1 test.\n";

/// What a program of three tests prints when the first of them prints `printed` and the marks are these.
std::string outputOf(const std::string& printed, const std::string& first, const std::string& second)
{
    return "Running main() from gmock_main.cc\n[==========] Running 3 tests from 1 test suite.\n"
           "[ RUN      ] Rows.First\n" +
           printed + first + " Rows.First (3 ms)\n[ RUN      ] Rows.Second\nRows.cpp:26: Skipped\nneeds a display\n\n" +
           second + " Rows.Second (0 ms)\n";
}

TEST(OutputOfTests, CountsThemAndTellsWhyOneWasSkipped)
{
    const TestOutput expected{.passed = 1, .skipped = {"Rows.Second: needs a display"}};
    EXPECT_EQ(readTestOutput({0, outputOf("", "[       OK ]", "[  SKIPPED ]") + kFinished, ""}), expected);
}

TEST(OutputOfTests, IsKeptOfAFailedOne)
{
    const TestOutput expected{.skipped = {"Rows.Second: needs a display"},
                              .failed = {"Rows.First\nExpected: 1\nActual: 2\n"}};
    const std::string listed = "[  PASSED  ] 0 tests.\n[  FAILED  ] 1 test, listed below:\n[  FAILED  ] Rows.First\n";
    EXPECT_EQ(readTestOutput({1, outputOf("Expected: 1\nActual: 2\n", "[  FAILED  ]", "[  SKIPPED ]") + listed, ""}),
              expected);
}

TEST(OutputOfTests, MayEndWithoutALine)
{
    EXPECT_EQ(readTestOutput({0, outputOf("half a line", "[       OK ]", "[       OK ]") + kFinished, ""}).passed, 2U);
}

TEST(OutputOfTests, ThatBreaksOffFailsTheTestThatRan)
{
    const std::string output = outputOf("", "[       OK ]", "[       OK ]") + "[ RUN      ] Rows.Third\nhalf way\n";
    const TestOutput expected{.passed = 2, .failed = {"Rows.Third\nhalf way\nended with 3\nno memory\n"}};
    EXPECT_EQ(readTestOutput({3, output, "no memory\n"}), expected);
}

TEST(OutputOfTests, ThatBreaksOffBetweenTwoFailsWhateverTheExitCode)
{
    const std::string output = outputOf("", "[       OK ]", "[       OK ]");
    const TestOutput expected{.passed = 2, .failed = {"the program ended with 0\n"}};
    EXPECT_EQ(readTestOutput({0, output, ""}), expected);
}

TEST(OutputOfTests, IsAFailureWhenTheProgramFailsAfterThem)
{
    const std::string output = outputOf("", "[       OK ]", "[       OK ]") + kFinished;
    const TestOutput expected{.passed = 2, .failed = {"the program ended with 5\n"}};
    EXPECT_EQ(readTestOutput({5, output, ""}), expected);
}

TEST(OutputOfAnotherProgram, IsJudgedByItsExitCode)
{
    EXPECT_EQ(readTestOutput({0, "22 checks passed\n", ""}), (TestOutput{.passed = 1}));
    EXPECT_EQ(readTestOutput({77, "needs PostgreSQL\n", ""}), (TestOutput{.skipped = {"all: needs PostgreSQL"}}));
    EXPECT_EQ(readTestOutput({1, "found: 1\n", "why\n"}),
              (TestOutput{.failed = {"all\nfound: 1\nended with 1\nwhy\n"}}));
}

} // namespace
