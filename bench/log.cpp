// Log entries without a run around them, by the component or by the least that they take: open, append, close.
//
//   bench_log component|bare FILE ENTRIES BYTES
//
// BYTES is the length of an entry in the file, its heading included.
#include "control/log.h"

#include "control/settings.h"
#include "protocol.h"

using namespace quinmark;

namespace {

/// Line breaks, date, time and level, at their longest.
constexpr size_t kHeading = 36;

/// False when something fails.
bool append(const wchar_t* path, const std::string& entry)
{
    const HANDLE file = CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DWORD written = 0;
    const bool done = WriteFile(file, entry.data(), static_cast<DWORD>(entry.size()), &written, nullptr) != FALSE;
    return CloseHandle(file) && done && written == entry.size();
}

} // namespace

int wmain(int count, wchar_t* words[])
{
    if (count != 5 || !attachComponent(nullptr))
        return 2;
    const bool bare = words[1] == std::wstring_view(L"bare");
    const wchar_t* file = words[2];
    const long entries = std::stol(words[3]);
    const size_t size = std::stoul(words[4]);
    const std::string entry(size, 'x');
    const std::wstring message(size - kHeading, L'x');
    settings().iLogLevel = LOG_DEBUG;
    settings().sLogFile = file;
    bool done = true;
    sayAndWait("begin");
    for (long index = 0; index < entries; ++index) {
        if (bare)
            done = append(file, entry) && done;
        else
            Utils::WriteLog(LOG_DEBUG, message);
    }
    sayAndWait("end");
    return done ? 0 : 1;
}
