#include "ChildProcess.h"

#include "com/error.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

HANDLE inheritedFile(const std::wstring& path)
{
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
}

std::string linesOf(const std::wstring& path)
{
    std::string text = contentOf(path);
    std::erase(text, '\r');
    return text;
}

} // namespace

ChildProcess::ChildProcess(std::wstring commandLine, const std::wstring& folder)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = inheritedFile(outputPath_);
    startup.hStdError = inheritedFile(messagesPath_);
    const BOOL started = CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        folder.empty() ? nullptr : folder.c_str(), &startup, &process_);
    const DWORD reason = GetLastError();
    CloseHandle(startup.hStdOutput);
    CloseHandle(startup.hStdError);
    if (!started)
        com::check(HRESULT_FROM_WIN32(reason));
}

ChildProcess::~ChildProcess()
{
    TerminateProcess(process_.hProcess, 99);
    WaitForSingleObject(process_.hProcess, INFINITE);
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
}

std::string ChildProcess::messages() const
{
    return linesOf(messagesPath_);
}

ProgramEnd ChildProcess::wait(std::chrono::milliseconds longest)
{
    ProgramEnd end;
    EXPECT_EQ(WaitForSingleObject(process_.hProcess, static_cast<DWORD>(longest.count())), WAIT_OBJECT_0)
        << "the program does not end";
    GetExitCodeProcess(process_.hProcess, &end.exitCode);
    end.output = linesOf(outputPath_);
    end.messages = messages();
    return end;
}

std::string contentOf(const std::wstring& path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
