#include "files.h"

#include "HostError.h"
#include "text.h"

#include <chrono>
#include <filesystem>
#include <fmt/chrono.h>
#include <windows.h>

std::string besideLog(const Configuration& configuration, const std::string& ending)
{
    std::filesystem::path path(toWide(configuration.logFile));
    return toUtf8(path.replace_extension().wstring()) + ending;
}

std::string absolutePath(const std::string& path)
{
    return toUtf8(std::filesystem::absolute(toWide(path)).wstring());
}

void requireWritable(const std::string& what, const std::string& path, const std::string& todo)
{
    const HANDLE file = CreateFileW(toWide(path).c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        const std::string advice = adviceOnFile(GetLastError(), todo);
        throw HostError(kUsage, what + " " + path + " cannot be written", advice);
    }
    CloseHandle(file);
}

std::string adviceOnFile(unsigned long reason, const std::string& todo)
{
    return reason == ERROR_SHARING_VIOLATION ? "Another program has it open; try again when that has ended." : todo;
}

std::string utcNow()
{
    return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}",
                       fmt::gmtime(std::chrono::system_clock::to_time_t(std::chrono::system_clock::now())));
}
