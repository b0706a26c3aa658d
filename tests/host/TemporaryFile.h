#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <windows.h>

/// A file with a content, for as long as this lives.
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::string& content, const std::string& name = "file")
        : path_(std::filesystem::temp_directory_path() /
                ("quinrep_test_" + std::to_string(GetCurrentProcessId()) + "_" + name))
    {
        std::ofstream(path_, std::ios::binary) << content;
    }
    ~TemporaryFile()
    {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    std::string path() const { return path_.string(); }

private:
    std::filesystem::path path_;
};
