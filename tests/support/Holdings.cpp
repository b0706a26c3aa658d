#include "Holdings.h"

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

// GetProcessHandleCount answers 0 under Wine, and asking for the handles of all processes ends Wine's server when one
// of them is just ending. So every handle is tried. The system gives low numbers again, in steps of 4; after this many
// that are free in a row there are no more.
size_t handleCount()
{
    constexpr ULONG_PTR kFree = 256;
    size_t count = 0;
    ULONG_PTR last = 0;
    for (ULONG_PTR number = 1; number <= last + kFree; ++number) {
        DWORD flags = 0;
        if (GetHandleInformation(reinterpret_cast<HANDLE>(number * 4), &flags)) {
            ++count;
            last = number;
        }
    }
    return count;
}

void withoutTextCache()
{
    // Not in the import library of mingw-w64.
    using SetOaNoCache = void(WINAPI*)();
    const HMODULE automation = GetModuleHandleW(L"oleaut32.dll");
    reinterpret_cast<SetOaNoCache>(reinterpret_cast<void*>(GetProcAddress(automation, "SetOaNoCache")))();
}
