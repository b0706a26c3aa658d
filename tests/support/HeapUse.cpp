#include "HeapUse.h"

#include <vector>
#include <windows.h>

namespace {

size_t bytesInUse(HANDLE heap)
{
    size_t bytes = 0;
    PROCESS_HEAP_ENTRY entry{};
    HeapLock(heap);
    while (HeapWalk(heap, &entry))
        if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)
            bytes += entry.cbData;
    HeapUnlock(heap);
    return bytes;
}

} // namespace

size_t heapBytesInUse()
{
    std::vector<HANDLE> heaps(64);
    heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
    size_t bytes = 0;
    for (const HANDLE heap : heaps)
        bytes += bytesInUse(heap);
    return bytes;
}

void withoutTextCache()
{
    // Not in the import library of mingw-w64.
    using SetOaNoCache = void(WINAPI*)();
    const HMODULE automation = GetModuleHandleW(L"oleaut32.dll");
    reinterpret_cast<SetOaNoCache>(reinterpret_cast<void*>(GetProcAddress(automation, "SetOaNoCache")))();
}
