#include "files.h"

#include "HostError.h"
#include "text.h"

#include <chrono>
#include <filesystem>
#include <fmt/chrono.h>
#include <fstream>

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
    if (!std::ofstream(toWide(path).c_str(), std::ios::app))
        throw HostError(kUsage, what + " " + path + " cannot be written", todo);
}

std::string utcNow()
{
    return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}",
                       fmt::gmtime(std::chrono::system_clock::to_time_t(std::chrono::system_clock::now())));
}
