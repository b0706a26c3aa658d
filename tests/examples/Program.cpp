#include "Program.h"

#include "com/error.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <windows.h>

namespace {

void checkCall(bool succeeded)
{
    com::check(succeeded ? S_OK : HRESULT_FROM_WIN32(GetLastError()));
}

/// A file that a child process can inherit as its output; it goes with this object.
class OutputFile
{
public:
    OutputFile()
        : path_(std::filesystem::temp_directory_path() /
                (L"quinmark_host_" + std::to_wstring(GetCurrentProcessId()) + L".txt"))
    {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        handle_ = CreateFileW(path_.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                              CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        checkCall(handle_ != INVALID_HANDLE_VALUE);
    }
    ~OutputFile()
    {
        CloseHandle(handle_);
        DeleteFileW(path_.c_str());
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    HANDLE handle() const { return handle_; }
    std::string text() const
    {
        std::ifstream file(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path path_;
    HANDLE handle_;
};

} // namespace

ProgramEnd runProgram(const std::wstring& commandLine, const std::wstring& folder)
{
    const OutputFile output;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.handle();
    startup.hStdError = output.handle();
    PROCESS_INFORMATION process{};
    std::wstring command = commandLine;
    checkCall(CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, folder.c_str(), &startup,
                             &process));
    WaitForSingleObject(process.hProcess, INFINITE);
    ProgramEnd end{};
    GetExitCodeProcess(process.hProcess, &end.status);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    end.output = output.text();
    return end;
}
