#pragma once

#include <string>

/// What a program said, on both of its outputs, and the status it ended with.
struct ProgramEnd
{
    unsigned long status;
    std::string output;
};

/// Runs a command line in a folder and waits for its end; raises when it cannot be started.
ProgramEnd runProgram(const std::wstring& commandLine, const std::wstring& folder);
