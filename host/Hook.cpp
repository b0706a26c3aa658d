#include "Hook.h"

#include "cancellation.h"
#include "com/convert.h"
#include "files.h"
#include "passwords.h"
#include "text.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <windows.h>

using nlohmann::ordered_json;

namespace {

/// Characters of the output's end that a failure tells.
constexpr size_t kToldOutput = 500;
/// Bytes of the output's end that are read. A command may write more than a program's memory holds.
constexpr std::streamoff kReadOutput = 1 << 20;

class Handle
{
public:
    explicit Handle(HANDLE handle = nullptr) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    ~Handle()
    {
        if (handle_)
            CloseHandle(handle_);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    HANDLE get() const { return handle_; }

private:
    HANDLE handle_;
};

/// A file beside the log with a name of this process, for as long as this lives.
class FileBesideLog
{
public:
    FileBesideLog(const Configuration& configuration, const char* ending)
        : name_(absolutePath(besideLog(
              configuration, fmt::format(".{}{}", static_cast<unsigned long>(GetCurrentProcessId()), ending)))),
          path_(toWide(name_))
    {
    }
    ~FileBesideLog()
    {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    FileBesideLog(const FileBesideLog&) = delete;
    FileBesideLog& operator=(const FileBesideLog&) = delete;

    const std::filesystem::path& path() const { return path_; }
    const std::string& name() const { return name_; }

private:
    std::string name_;
    std::filesystem::path path_;
};

/// The environment block of a hook.
std::wstring environmentOf(const Configuration& configuration, const EnvironmentVariables& variables)
{
    // By their names in capitals: the platform does not tell them apart, and wants them in this order.
    std::map<std::wstring, std::wstring> entries;
    wchar_t* inherited = GetEnvironmentStringsW();
    for (const wchar_t* entry = inherited; *entry; entry += std::wcslen(entry) + 1) {
        const std::wstring text = entry;
        entries[com::upperCase(text.substr(0, text.find(L'=', 1)))] = text;
    }
    FreeEnvironmentStringsW(inherited);
    for (const SideConfiguration* side : {&configuration.source, &configuration.destination})
        entries.erase(com::upperCase(toWide(passwordVariable(side->password))));
    std::erase_if(entries, [](const auto& entry) { return entry.first.starts_with(L"QUINREP_"); });
    for (const auto& [name, value] : variables)
        entries[toWide(name)] = toWide(name) + L"=" + toWide(value);
    std::wstring block;
    for (const auto& [name, entry] : entries)
        block += entry + L'\0';
    return block + L'\0';
}

/// The platform's own cmd, whatever the search path says.
std::wstring commandLine(const std::string& command)
{
    wchar_t folder[MAX_PATH] = L"";
    GetSystemDirectoryW(folder, MAX_PATH);
    return L"\"" + std::wstring(folder) + L"\\cmd.exe\" /d /s /c \"" + toWide(command) + L"\"";
}

std::string platformText(DWORD error)
{
    wchar_t text[512] = L"";
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, text, 512, nullptr);
    return trimmed(toUtf8(text));
}

/// The end of a text in UTF-8, of whole characters.
std::string endOf(const std::string& text, size_t length)
{
    if (text.size() <= length)
        return text;
    size_t begin = text.size() - length;
    while (begin < text.size() && (text[begin] & 0xC0) == 0x80) // within a character
        ++begin;
    return "... " + text.substr(begin);
}

/// The output of console programs is in the console's code page, unless they write UTF-8.
std::string outputOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    // With room for the beginning of a character.
    const std::streamoff begin =
        std::max(static_cast<std::streamoff>(file.tellg()) - kReadOutput - 4, std::streamoff{0});
    file.seekg(begin);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (begin > 0)
        text = endOf(text, kReadOutput);
    std::erase(text, '\r');
    return trimmed(isUtf8(text) ? text : toUtf8(fromConsole(text)));
}

/// A process with all that it starts.
class Job
{
public:
    /// Starts it with a file as its output and error and an environment block. `reason` tells why it did not start.
    Job(std::wstring line, const std::filesystem::path& output, std::wstring environment)
        : job_(CreateJobObjectW(nullptr, nullptr))
    {
        start(std::move(line), output, std::move(environment));
    }
    ~Job()
    {
        if (process_.hThread)
            CloseHandle(process_.hThread);
        if (process_.hProcess)
            CloseHandle(process_.hProcess);
    }
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    bool started() const { return started_; }
    DWORD reason() const { return reason_; }

    bool waitFor(std::chrono::milliseconds time) const
    {
        return WaitForSingleObject(process_.hProcess, static_cast<DWORD>(time.count())) == WAIT_OBJECT_0;
    }
    DWORD exitCode() const
    {
        DWORD code = 1;
        GetExitCodeProcess(process_.hProcess, &code);
        return code;
    }
    void end() { TerminateJobObject(job_.get(), 1); }
    /// Whether all ends when this does, or its program is killed. Not what a command that has ended left running.
    void endWithThis(bool ends)
    {
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = ends ? JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE : 0;
        SetInformationJobObject(job_.get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));
    }

private:
    void start(std::wstring line, const std::filesystem::path& output, std::wstring environment)
    {
        SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
        const Handle out(CreateFileW(output.c_str(), FILE_APPEND_DATA,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inherited, CREATE_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
        const Handle in(CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, OPEN_EXISTING,
                                    0, nullptr));
        // What a command leaves running would keep a pipe open for whose end a caller waits.
        for (const DWORD own : {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE})
            SetHandleInformation(GetStdHandle(own), HANDLE_FLAG_INHERIT, 0);
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = in.get();
        startup.hStdOutput = out.get();
        startup.hStdError = out.get();
        // Suspended, so that it starts nothing before it is in the job.
        started_ =
            out.get() && job_.get() &&
            CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED | CREATE_UNICODE_ENVIRONMENT,
                           environment.data(), nullptr, &startup, &process_);
        reason_ = GetLastError();
        if (started_ && !AssignProcessToJobObject(job_.get(), process_.hProcess)) {
            reason_ = GetLastError();
            TerminateProcess(process_.hProcess, 1);
            started_ = false;
        }
        endWithThis(true);
        if (started_)
            ResumeThread(process_.hThread);
    }

    Handle job_;
    PROCESS_INFORMATION process_{};
    bool started_ = false;
    DWORD reason_ = 0;
};

/// How the job failed to end with 0, ended by force if need be.
std::optional<std::string> failureOf(Job& job, std::chrono::seconds timeout)
{
    constexpr std::chrono::milliseconds kStep{100};
    const bool wasCancelled = cancellation();
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (!job.waitFor(kStep)) {
        const bool cancelled = cancellation() && !wasCancelled;
        if (!cancelled && std::chrono::steady_clock::now() < end)
            continue;
        job.end();
        return cancelled ? "was cancelled"
                         : fmt::format("did not end within {} seconds and was ended", timeout.count());
    }
    job.endWithThis(false);
    if (job.exitCode() == 0)
        return std::nullopt;
    return fmt::format("ended with exit code {}", static_cast<long>(job.exitCode()));
}

} // namespace

std::optional<std::string> hookFailure(const Configuration& configuration, const std::string& command,
                                       const EnvironmentVariables& variables, const ordered_json& result, bool quiet)
{
    const FileBesideLog resultFile(configuration, ".result.json");
    const FileBesideLog outputFile(configuration, ".output.txt");
    if (!(std::ofstream(resultFile.path(), std::ios::binary) << result.dump(2) << std::endl))
        return fmt::format("was not started: the file {} for its result cannot be written", resultFile.name());
    EnvironmentVariables all = variables;
    all.emplace_back("QUINREP_RESULT", resultFile.name());
    Job job(commandLine(command), outputFile.path(), environmentOf(configuration, all));
    if (!job.started())
        return "cannot be started: " + platformText(job.reason());
    std::optional<std::string> failure = failureOf(job, std::chrono::seconds(configuration.hooks.timeout));
    const std::string output = outputOf(outputFile.path());
    if (!quiet && !output.empty())
        std::cerr << output << std::endl;
    if (failure && !output.empty())
        *failure += ": " + endOf(output, kToldOutput);
    return failure;
}
