#pragma once

#include <cstddef>

// The resources that this process holds. The component makes no GDI or USER objects but its message boxes.

/// Bytes in use in all heaps, to the byte.
size_t heapBytesInUse();

/// Handles of the kernel: files, threads, events, ...
size_t handleCount();

/// Texts that the automation runtime keeps for later would look like a leak.
void withoutTextCache();
