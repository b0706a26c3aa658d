#include "files.h"

#include "HostError.h"
#include "text.h"

#include <chrono>
#include <filesystem>
#include <fmt/chrono.h>
#include <fstream>
#include <windows.h>

namespace {

/// After the name of a file: what it is called until it is whole.
constexpr wchar_t kNext[] = L".new";

/// Raises HostError(kUsage) when a file cannot be opened for writing. It is made where there is none.
void requireOpened(const std::wstring& path, const std::string& what, const std::string& todo)
{
    const HANDLE file = CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        const std::string advice = adviceOnFile(GetLastError(), todo);
        throw HostError(kUsage, what + " cannot be written", advice);
    }
    CloseHandle(file);
}

bool isThere(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

} // namespace

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
    requireOpened(toWide(path), what + " " + path, todo);
}

std::string adviceOnFile(unsigned long reason, const std::string& todo)
{
    return reason == ERROR_SHARING_VIOLATION ? "Another program has it open; try again when that has ended." : todo;
}

bool replaceFile(const std::string& path, std::string_view content)
{
    // Wine's ReplaceFile makes files in the folder that the path names.
    const std::wstring wide = std::filesystem::absolute(toWide(path)).wstring();
    const std::wstring next = wide + kNext;
    const bool whole = static_cast<bool>((std::ofstream(next.c_str(), std::ios::binary) << content).flush());
    // A file that is there keeps its rights.
    if (whole &&
        (ReplaceFileW(wide.c_str(), next.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr) ||
         MoveFileExW(next.c_str(), wide.c_str(), MOVEFILE_WRITE_THROUGH)))
        return true;
    if (!whole || isThere(wide))
        DeleteFileW(next.c_str());
    return false;
}

void requireReplaceable(const std::string& what, const std::string& path, const std::string& todo)
{
    const std::wstring wide = toWide(path);
    const std::wstring next = wide + kNext;
    if (isThere(wide))
        requireOpened(wide, what + " " + path, todo);
    requireOpened(next, what + " " + path, todo);
    DeleteFileW(next.c_str());
}

std::string utcNow()
{
    return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}",
                       fmt::gmtime(std::chrono::system_clock::to_time_t(std::chrono::system_clock::now())));
}
