#include "Folders.h"

#include <windows.h>

std::filesystem::path builtFile(const std::filesystem::path& name)
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::filesystem::path(path).replace_filename(name);
}

// The kit has its programs in a folder beside those of the sources.
std::filesystem::path sourceFile(const std::filesystem::path& name)
{
    const std::filesystem::path kit = builtFile(L"").parent_path().parent_path();
    return (std::filesystem::exists(kit / L"VERSION") ? kit : std::filesystem::path(SOURCE_FOLDER)) / name;
}
