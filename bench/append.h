#pragma once

#include <stdexcept>
#include <string>
#include <windows.h>

/// Opens a file, appends an entry and closes it, with nothing around the calls. Throws std::runtime_error.
inline void append(const wchar_t* path, const std::string& entry)
{
    const HANDLE file = CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        throw std::runtime_error("the file cannot be opened");
    DWORD written = 0;
    const bool done = WriteFile(file, entry.data(), static_cast<DWORD>(entry.size()), &written, nullptr) != FALSE;
    if (!CloseHandle(file) || !done || written != entry.size())
        throw std::runtime_error("the entry cannot be written");
}
