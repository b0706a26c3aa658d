#pragma once

#include "TestOutput.h"

#include <fstream>

/// The result file, which never has the password in it. What is said goes to the standard output too.
class Results
{
public:
    /// Throws std::runtime_error when the file cannot be written.
    Results(const std::filesystem::path& file, std::wstring password);

    void say(const std::string& text);

    /// A program's results. The standard output gets the counts only.
    void add(const std::string& program, const TestOutput& output);

    /// Says the sum, and whether all that ran has passed.
    bool sayWhetherPassed();

private:
    std::string withoutPassword(std::string text) const;

    const std::wstring password_;
    std::ofstream file_;
    size_t programs_ = 0;
    size_t passed_ = 0;
    size_t skipped_ = 0;
    std::string failedPrograms_;
};
