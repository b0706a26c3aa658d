#pragma once

#include <string>
#include <vector>
#include <windows.h>

/// Everything below `root`, where values are texts, as sorted lines: "path" for a key, "path name = value" for a value
/// ("path = value" for the default one).
std::vector<std::wstring> registryText(HKEY root);
