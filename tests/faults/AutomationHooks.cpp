#include "Allocations.h"
#include "support/ImportHook.h"

#include <comdef.h>
#include <type_traits>

namespace allocations {
namespace {

bool needsMemory(auto...)
{
    return true;
}

bool needsMemory(VARIANT*, VARIANT* from)
{
    const VARIANT& value = from->vt == (VT_BYREF | VT_VARIANT) ? *from->pvarVal : *from;
    return (value.vt & VT_ARRAY) != 0 || (value.vt & VT_TYPEMASK) == VT_BSTR;
}

bool needsMemory(VARIANT* to, VARIANT* from, LCID, USHORT, VARTYPE type)
{
    return type == VT_BSTR || needsMemory(to, from);
}

/// One import of this program, told by its number from the others of the same type.
template <int Number, class Function>
class Import;

template <int Number, class Result, class... Arguments>
class Import<Number, Result(WINAPI*)(Arguments...)>
{
public:
    /// Diverts it for the life of the program.
    static void divert(const char* name)
    {
        original = (new ImportHook(name, reinterpret_cast<void*>(call)))->original<decltype(original)>();
    }

private:
    static Result WINAPI call(Arguments... arguments)
    {
        if (!needsMemory(arguments...) || !isWatched() || mayAllocate())
            return original(arguments...);
        if constexpr (std::is_same_v<Result, HRESULT>)
            return E_OUTOFMEMORY;
        else
            return nullptr;
    }

    static inline Result(WINAPI* original)(Arguments...);
};

} // namespace

void hookAutomation()
{
    Import<1, decltype(&SysAllocString)>::divert("SysAllocString");
    Import<2, decltype(&SysAllocStringLen)>::divert("SysAllocStringLen");
    Import<3, decltype(&VariantCopy)>::divert("VariantCopy");
    Import<4, decltype(&VariantCopyInd)>::divert("VariantCopyInd");
    Import<5, decltype(&VariantChangeTypeEx)>::divert("VariantChangeTypeEx");
    Import<6, decltype(&CreateErrorInfo)>::divert("CreateErrorInfo");
}

} // namespace allocations
