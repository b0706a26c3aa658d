#pragma once

#include <cstddef>

/// Bytes in use in all heaps of the process, to the byte.
size_t heapBytesInUse();

/// Texts that the automation runtime keeps for later would look like a leak.
void withoutTextCache();
