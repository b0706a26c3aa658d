#pragma once

#include "support/ImportHook.h"
#include "support/TemporaryFolder.h"

#include <functional>
#include <optional>
#include <string>
#include <windows.h>

enum class LogFaultKind
{
    DiskFull,
    Locked, ///< somebody else holds the file without sharing it
    DirectoryRemoved,
};

/// Fails the entry number `entry` (from 1) of the log, and all after it.
struct LogFault
{
    LogFaultKind kind;
    size_t entry;
};

/// A log file in a directory of its own that really fails: each entry is opened by this program's import of
/// CreateFileW, which makes the directory, the lock or the full disk just before.
class LogFaults
{
public:
    LogFaults();
    ~LogFaults();
    LogFaults(const LogFaults&) = delete;
    LogFaults& operator=(const LogFaults&) = delete;

    std::wstring file() const { return directory_ + L"\\replication.log"; }

    /// Begins to count, and to fail as told; `whenFailing` runs just before the first entry that fails.
    void begin(std::optional<LogFault> fault = {}, std::function<void()> whenFailing = {});
    /// A log that can be written again, and is empty.
    void heal();
    size_t entries() const { return entries_; }

private:
    static HANDLE WINAPI openFile(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                                  DWORD disposition, DWORD flags, HANDLE model);
    /// The path to open instead of the log's.
    std::wstring beforeEntry();
    void fail(LogFaultKind kind);

    const TemporaryFolder folder_;
    const std::wstring directory_ = folder_.file(L"log");
    std::optional<LogFault> fault_;
    std::function<void()> whenFailing_;
    size_t entries_ = 0;
    HANDLE lock_ = INVALID_HANDLE_VALUE;
    ImportHook hook_;
};
