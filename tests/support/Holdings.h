#pragma once

#include <cstddef>
#include <ostream>
#include <windows.h>

/// The resources that this process holds.
struct Holdings
{
    size_t heapBytes; ///< in use in all heaps, to the byte
    size_t handles;   ///< of the kernel: files, threads, events, ...
    DWORD gdiObjects; ///< always 0 under Wine, which does not tell
    DWORD userObjects;
};

Holdings holdings();

/// The handles alone.
size_t handleCount();

std::ostream& operator<<(std::ostream& stream, const Holdings& holdings);
