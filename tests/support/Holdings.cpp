#include "Holdings.h"

#include "HeapUse.h"

#include <stdexcept>
#include <vector>
#include <winternl.h>

namespace {

constexpr ULONG kExtendedHandleInformation = 64;
constexpr NTSTATUS kTooShort = static_cast<NTSTATUS>(0xC0000004);

/// One handle of any process, as the system lists it.
struct SystemHandle
{
    void* object;
    ULONG_PTR process;
    ULONG_PTR handle;
    ULONG access;
    USHORT backTrace;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
};

struct SystemHandles
{
    ULONG_PTR count;
    ULONG_PTR reserved;
    SystemHandle first[1];
};

} // namespace

// GetProcessHandleCount answers 0 under Wine; the list of all handles is right on both.
size_t handleCount()
{
    using Query = NTSTATUS(NTAPI*)(ULONG, void*, ULONG, ULONG*);
    const auto query = reinterpret_cast<Query>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<std::byte> buffer(1 << 20);
    ULONG length = 0;
    NTSTATUS status = kTooShort;
    while ((status = query(kExtendedHandleInformation, buffer.data(), static_cast<ULONG>(buffer.size()), &length)) ==
           kTooShort)
        buffer.resize(buffer.size() * 2);
    if (status < 0)
        throw std::runtime_error("the system does not list its handles");
    const auto* handles = reinterpret_cast<const SystemHandles*>(buffer.data());
    size_t own = 0;
    for (ULONG_PTR index = 0; index < handles->count; ++index)
        if (handles->first[index].process == GetCurrentProcessId())
            ++own;
    return own;
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
