#pragma once

#include <map>
#include <set>
#include <string>

/// The names that a type library offers to hosts.
struct TypeLibraryNames
{
    /// Members that a late-bound host can call, by interface, as they are spelled.
    std::map<std::string, std::set<std::string>> members;
    /// Values of the enums' constants.
    std::map<std::string, long> constants;
    /// Classes, interfaces and enums.
    std::set<std::string> types;
};

/// Reads the library in a file; raises when it cannot be read.
TypeLibraryNames readTypeLibrary(const wchar_t* path);
