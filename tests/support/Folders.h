#pragma once

#include <filesystem>

/// A file in the folder of the program that runs.
std::filesystem::path builtFile(const std::filesystem::path& name);

/// A file of the sources: from the kit for Windows when the program is run from there, else from where it was compiled.
std::filesystem::path sourceFile(const std::filesystem::path& name);
