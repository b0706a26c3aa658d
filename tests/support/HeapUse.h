#pragma once

#include <cstddef>

/// Bytes in use in all heaps of the process, to the byte.
size_t heapBytesInUse();
