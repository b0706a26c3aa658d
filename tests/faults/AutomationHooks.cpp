#include "Allocations.h"

#include "support/ImportHook.h"

#include <comdef.h>

namespace allocations {
namespace {

/// Whether a call goes on, when it needs memory.
bool goesOn(bool needsMemory = true)
{
    return !needsMemory || !isWatched() || mayAllocate();
}

bool holdsMemory(const VARIANT& value)
{
    const VARIANT& inner = value.vt == (VT_BYREF | VT_VARIANT) ? *value.pvarVal : value;
    return (inner.vt & VT_ARRAY) != 0 || (inner.vt & VT_TYPEMASK) == VT_BSTR;
}

decltype(&SysAllocString) g_allocString;
decltype(&SysAllocStringLen) g_allocStringLen;
decltype(&SysAllocStringByteLen) g_allocStringByteLen;
decltype(&VariantCopy) g_copy;
decltype(&VariantCopyInd) g_copyInd;
decltype(&VariantChangeTypeEx) g_change;
decltype(&CreateErrorInfo) g_createErrorInfo;

BSTR WINAPI allocString(const OLECHAR* text)
{
    return goesOn() ? g_allocString(text) : nullptr;
}

BSTR WINAPI allocStringLen(const OLECHAR* text, UINT length)
{
    return goesOn() ? g_allocStringLen(text, length) : nullptr;
}

BSTR WINAPI allocStringByteLen(LPCSTR bytes, UINT length)
{
    return goesOn() ? g_allocStringByteLen(bytes, length) : nullptr;
}

HRESULT WINAPI copy(VARIANTARG* to, VARIANTARG* from)
{
    return goesOn(holdsMemory(*from)) ? g_copy(to, from) : E_OUTOFMEMORY;
}

HRESULT WINAPI copyInd(VARIANT* to, VARIANTARG* from)
{
    return goesOn(holdsMemory(*from)) ? g_copyInd(to, from) : E_OUTOFMEMORY;
}

HRESULT WINAPI change(VARIANTARG* to, VARIANTARG* from, LCID locale, USHORT flags, VARTYPE type)
{
    return goesOn(type == VT_BSTR || holdsMemory(*from)) ? g_change(to, from, locale, flags, type) : E_OUTOFMEMORY;
}

HRESULT WINAPI createErrorInfo(ICreateErrorInfo** info)
{
    return goesOn() ? g_createErrorInfo(info) : E_OUTOFMEMORY;
}

/// Diverts an import for the life of the program.
template <class Function>
void divert(const char* name, Function replacement, Function& original)
{
    original = (new ImportHook(name, reinterpret_cast<void*>(replacement)))->original<Function>();
}

} // namespace

void hookAutomation()
{
    divert("SysAllocString", allocString, g_allocString);
    divert("SysAllocStringLen", allocStringLen, g_allocStringLen);
    divert("SysAllocStringByteLen", allocStringByteLen, g_allocStringByteLen);
    divert("VariantCopy", copy, g_copy);
    divert("VariantCopyInd", copyInd, g_copyInd);
    divert("VariantChangeTypeEx", change, g_change);
    divert("CreateErrorInfo", createErrorInfo, g_createErrorInfo);
}

} // namespace allocations
