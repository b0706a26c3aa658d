#include "ImportHook.h"

#include <cstring>
#include <stdexcept>
#include <windows.h>

namespace {

char* imageBase()
{
    return reinterpret_cast<char*>(GetModuleHandleW(nullptr));
}

template <class Part>
Part* partAt(DWORD offset)
{
    return reinterpret_cast<Part*>(imageBase() + offset);
}

const IMAGE_IMPORT_DESCRIPTOR* firstImport()
{
    const auto* headers = partAt<IMAGE_NT_HEADERS>(static_cast<DWORD>(partAt<IMAGE_DOS_HEADER>(0)->e_lfanew));
    return partAt<IMAGE_IMPORT_DESCRIPTOR>(
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
}

void** findInDll(const IMAGE_IMPORT_DESCRIPTOR& dll, const char* function)
{
    const auto* name = partAt<IMAGE_THUNK_DATA>(dll.OriginalFirstThunk);
    auto* address = partAt<IMAGE_THUNK_DATA>(dll.FirstThunk);
    for (; name->u1.AddressOfData; ++name, ++address) {
        const bool byName = !IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal);
        if (byName && std::strcmp(partAt<IMAGE_IMPORT_BY_NAME>(name->u1.AddressOfData)->Name, function) == 0)
            return reinterpret_cast<void**>(&address->u1.Function);
    }
    return nullptr;
}

void** findImport(const char* function)
{
    for (const IMAGE_IMPORT_DESCRIPTOR* dll = firstImport(); dll->Name; ++dll)
        if (void** slot = findInDll(*dll, function))
            return slot;
    throw std::runtime_error(std::string("the program does not import ") + function);
}

void write(void** slot, void* value)
{
    DWORD before = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &before);
    *slot = value;
    VirtualProtect(slot, sizeof *slot, before, &before);
}

} // namespace

ImportHook::ImportHook(const char* function, void* replacement) : slot_(findImport(function)), original_(*slot_)
{
    write(slot_, replacement);
}

ImportHook::~ImportHook()
{
    write(slot_, original_);
}
