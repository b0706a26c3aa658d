#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <windows.h>

/// A file with one JSON object in each line. Nobody else writes it while one of these lives. A line may be written in
/// pieces, each as soon as it is known: a line that was broken off can still be read, as far as it goes.
class JsonLines
{
public:
    /// Opens the file, or makes it; `isOpen` tells whether that worked. A line that was broken off ends here.
    explicit JsonLines(const std::string& path);
    ~JsonLines();
    JsonLines(const JsonLines&) = delete;
    JsonLines& operator=(const JsonLines&) = delete;

    bool isOpen() const { return file_ != INVALID_HANDLE_VALUE; }
    /// Why it is not open, as GetLastError says.
    DWORD reason() const { return reason_; }
    unsigned long long size() const;

    /// Write members of a line's object; whether that worked. `add` and `end` get at least one member.
    bool begin(const nlohmann::ordered_json& members);
    bool add(const nlohmann::ordered_json& members);
    bool end(const nlohmann::ordered_json& members);

    /// The objects of all lines; what is no object is left out. A file that is not there has none. Raises
    /// HostError(kFailed), naming `what`, for one that cannot be read.
    static nlohmann::ordered_json read(const std::string& path, const std::string& what);

private:
    bool write(const std::string& text);

    HANDLE file_;
    DWORD reason_ = 0;
};
