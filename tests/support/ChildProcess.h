#pragma once

#include "TemporaryFolder.h"

#include <chrono>

/// The exit code and the output of a program, its lines ended by LF.
struct ProgramEnd
{
    DWORD exitCode = 0;
    std::string output;
    std::string messages;
};

/// A program with files as its standard output and error; ended with this when it still runs.
class ChildProcess
{
public:
    /// Raises when it cannot be started. The folder is the caller's unless told.
    explicit ChildProcess(std::wstring commandLine, const std::wstring& folder = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Its messages so far.
    std::string messages() const;

    /// The end of the program, which must come in time.
    ProgramEnd wait(std::chrono::milliseconds longest = std::chrono::minutes(1));

private:
    const TemporaryFolder files_;
    const std::wstring outputPath_ = files_.file(L"output");
    const std::wstring messagesPath_ = files_.file(L"messages");
    PROCESS_INFORMATION process_{};
};

/// The whole text of a file.
std::string contentOf(const std::wstring& path);
