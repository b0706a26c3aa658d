#pragma once

#include <filesystem>
#include <string>
#include <windows.h>

/// A new folder, which goes with this and everything in it.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        // A process of this number may have been killed.
        std::filesystem::remove_all(path_);
        std::filesystem::create_directory(path_);
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::wstring file(const std::wstring& name) const { return path_ / name; }

private:
    static inline int number_ = 0;
    const std::filesystem::path path_ =
        std::filesystem::temp_directory_path() /
        (L"quinmark-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++number_));
};
