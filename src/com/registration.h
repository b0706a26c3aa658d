#pragma once

#include "com/server.h"

#include <string>
#include <utility>
#include <vector>

/// The registry's entries for a class.
namespace com {

/// A GUID in braces, as the registry has it.
std::wstring guidText(const GUID& guid);

/// A key with its values, texts by name; an empty name is the key's default value.
struct RegistryKey
{
    std::wstring path;
    std::vector<std::pair<std::wstring, std::wstring>> values;
};

/// Everything below HKEY_CLASSES_ROOT that makes a class known as served by the file `modulePath`, parents before
/// children.
std::vector<RegistryKey> classKeys(const ClassEntry& entry, const std::wstring& modulePath);

/// Raises the registry's own failure.
void writeKey(HKEY root, const RegistryKey& key);

} // namespace com
