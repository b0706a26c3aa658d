#include "LogFaults.h"

#include "Allocations.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

namespace {

LogFaults* g_faults = nullptr;

std::wstring newDirectory()
{
    wchar_t temporary[MAX_PATH + 1];
    GetTempPathW(MAX_PATH, temporary);
    return std::wstring(temporary) + L"quinmark-faults-" + std::to_wstring(GetCurrentProcessId());
}

} // namespace

LogFaults::LogFaults() : directory_(newDirectory()), hook_("CreateFileW", reinterpret_cast<void*>(openFile))
{
    g_faults = this;
    CreateDirectoryW(directory_.c_str(), nullptr);
}

LogFaults::~LogFaults()
{
    heal();
    g_faults = nullptr;
    DeleteFileW(file().c_str());
    RemoveDirectoryW(directory_.c_str());
}

void LogFaults::begin(std::optional<LogFault> fault, std::function<void()> action)
{
    fault_ = fault;
    action_ = std::move(action);
    starts_.clear();
}

void LogFaults::heal()
{
    fault_.reset();
    if (lock_ != INVALID_HANDLE_VALUE)
        CloseHandle(std::exchange(lock_, INVALID_HANDLE_VALUE));
    CreateDirectoryW(directory_.c_str(), nullptr);
    DeleteFileW(file().c_str());
}

std::vector<std::string> LogFaults::texts() const
{
    std::ifstream stream(std::filesystem::path(file()), std::ios::binary);
    const std::string all{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    std::vector<std::string> texts;
    for (size_t index = 0; index < starts_.size(); ++index) {
        const size_t end = index + 1 < starts_.size() ? starts_[index + 1] : all.size();
        texts.push_back(all.substr(starts_[index], end - starts_[index]));
    }
    return texts;
}

const wchar_t* LogFaults::text(LogFaultKind kind)
{
    switch (kind) {
    case LogFaultKind::DiskFull:
        return L"Disk full";
    case LogFaultKind::Locked:
        return L"Permission denied";
    case LogFaultKind::DirectoryRemoved:
        return L"Path not found";
    }
    return L"";
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
    std::error_code none;
    const std::uintmax_t size = std::filesystem::file_size(file(), none);
    starts_.push_back(none ? 0 : static_cast<size_t>(size));
    if (!fault_ || entries() < fault_->entry)
        return file();
    if (entries() == fault_->entry) {
        action_();
        sabotage();
    }
    return fault_->kind == LogFaultKind::DiskFull ? L"Z:\\dev\\full" : file();
}

void LogFaults::sabotage()
{
    const auto open = hook_.original<decltype(&CreateFileW)>();
    switch (fault_->kind) {
    case LogFaultKind::DiskFull:
        break;
    case LogFaultKind::Locked:
        lock_ = open(file().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
        break;
    case LogFaultKind::DirectoryRemoved:
        DeleteFileW(file().c_str());
        RemoveDirectoryW(directory_.c_str());
        break;
    }
}
