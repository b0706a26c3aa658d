#pragma once

#include <string>
#include <windows.h>

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

    ProgramEnd wait();

private:
    std::wstring outputPath_;
    std::wstring messagesPath_;
    PROCESS_INFORMATION process_{};
};

/// The whole text of a file.
std::string contentOf(const std::wstring& path);

/// A program in the folder of the one that runs.
std::wstring builtProgram(const wchar_t* name);
