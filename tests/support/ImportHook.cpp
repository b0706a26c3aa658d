#include "ImportHook.h"

#include <cstring>
#include <stdexcept>
#include <string>
#include <windows.h>

namespace {

/// A module as it lies in memory.
class Image
{
public:
    explicit Image(const wchar_t* module) : base_(reinterpret_cast<char*>(GetModuleHandleW(module))) {}

    void** findImport(const char* function) const
    {
        for (const IMAGE_IMPORT_DESCRIPTOR* dll = firstImport(); dll && dll->Name; ++dll)
            if (void** slot = findInDll(*dll, function))
                return slot;
        throw std::runtime_error(std::string("the module does not import ") + function);
    }

private:
    template <class Part>
    Part* partAt(DWORD offset) const
    {
        return reinterpret_cast<Part*>(base_ + offset);
    }

    const IMAGE_IMPORT_DESCRIPTOR* firstImport() const
    {
        if (!base_)
            return nullptr;
        const auto* headers = partAt<IMAGE_NT_HEADERS>(static_cast<DWORD>(partAt<IMAGE_DOS_HEADER>(0)->e_lfanew));
        return partAt<IMAGE_IMPORT_DESCRIPTOR>(
            headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    }

    void** findInDll(const IMAGE_IMPORT_DESCRIPTOR& dll, const char* function) const
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

    char* base_;
};

void write(void** slot, void* value)
{
    DWORD before = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &before);
    *slot = value;
    VirtualProtect(slot, sizeof *slot, before, &before);
}

} // namespace

ImportHook::ImportHook(const char* function, void* replacement, const wchar_t* module)
    : slot_(Image(module).findImport(function)),
      original_(*slot_)
{
    write(slot_, replacement);
}

ImportHook::~ImportHook()
{
    write(slot_, original_);
}
