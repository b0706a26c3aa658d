#pragma once

#include "support/ChildProcess.h"

#include <string>
#include <vector>

/// The results of a program of tests.
struct TestOutput
{
    size_t passed = 0;
    /// "NAME: REASON" of each
    std::vector<std::string> skipped = {};
    /// The name of each with what was printed in it.
    std::vector<std::string> failed = {};

    bool operator==(const TestOutput&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const TestOutput& output);

/// Reads what a program printed and how it ended. One without GoogleTest is one test, which its exit code judges: 0
/// passed, 77 skipped, else failed.
TestOutput readTestOutput(const ProgramEnd& end);
