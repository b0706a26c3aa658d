#pragma once

#include <oaidl.h>
#include <windows.h>

#include <functional>
#include <string>

namespace adodb {

/// The position that a collection's index names: a number from 0, or a name (without case; the first that fits), or a
/// reference to either. Raises 3265, naming `source`, when there is no such item.
size_t positionOfItem(const VARIANT& index, size_t count, const std::function<std::wstring(size_t)>& nameAt,
                      const wchar_t* source);

} // namespace adodb
