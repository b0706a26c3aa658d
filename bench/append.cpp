// The least that a log entry takes whose file is opened and closed for it: open, append, close.
//
//   bench_append FILE ENTRIES BYTES
#include "protocol.h"

#include <cstdio>
#include <windows.h>

namespace {

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
    if (count != 4)
        return 2;
    const long entries = std::stol(words[2]);
    const std::string entry(std::stoul(words[3]), 'x');
    beginWork();
    for (long index = 0; index < entries; ++index)
        if (!append(words[1], entry))
            return 1;
    endWork("entries=" + std::to_string(entries));
    return 0;
}
