#include "Holdings.h"

#include "HeapUse.h"

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

Holdings holdings()
{
    const size_t handles = handleCount();
    return {heapBytesInUse(), handles, GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS),
            GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS)};
}

std::ostream& operator<<(std::ostream& stream, const Holdings& holdings)
{
    return stream << holdings.heapBytes << " bytes of heap, " << holdings.handles << " handles, " << holdings.gdiObjects
                  << " GDI and " << holdings.userObjects << " USER objects";
}
