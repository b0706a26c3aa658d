#include "LogFaults.h"

#include "Allocations.h"

#include <filesystem>
#include <utility>

namespace {

LogFaults* g_faults = nullptr;

} // namespace

LogFaults::LogFaults() : hook_("CreateFileW", reinterpret_cast<void*>(openFile))
{
    g_faults = this;
    CreateDirectoryW(directory_.c_str(), nullptr);
}

LogFaults::~LogFaults()
{
    heal();
    g_faults = nullptr;
}

void LogFaults::begin(std::optional<LogFault> fault, std::function<void()> whenFailing)
{
    fault_ = fault;
    whenFailing_ = std::move(whenFailing);
    entries_ = 0;
}

void LogFaults::heal()
{
    fault_.reset();
    if (lock_ != INVALID_HANDLE_VALUE)
        CloseHandle(std::exchange(lock_, INVALID_HANDLE_VALUE));
    CreateDirectoryW(directory_.c_str(), nullptr);
    DeleteFileW(file().c_str());
}

HANDLE WINAPI LogFaults::openFile(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                                  DWORD disposition, DWORD flags, HANDLE model)
{
    const allocations::Unwatched own;
    const auto open = g_faults->hook_.original<decltype(&CreateFileW)>();
    if (path != g_faults->file())
        return open(path, access, share, security, disposition, flags, model);
    return open(g_faults->beforeEntry().c_str(), access, share, security, disposition, flags, model);
}

std::wstring LogFaults::beforeEntry()
{
    ++entries_;
    if (!fault_ || entries_ < fault_->entry)
        return file();
    if (entries_ == fault_->entry) {
        whenFailing_();
        fail(fault_->kind);
    }
    return fault_->kind == LogFaultKind::DiskFull ? L"Z:\\dev\\full" : file();
}

void LogFaults::fail(LogFaultKind kind)
{
    const auto open = hook_.original<decltype(&CreateFileW)>();
    if (kind == LogFaultKind::Locked)
        lock_ = open(file().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
    if (kind == LogFaultKind::DirectoryRemoved) {
        DeleteFileW(file().c_str());
        RemoveDirectoryW(directory_.c_str());
    }
}
