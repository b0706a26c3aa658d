#pragma once

#include "com/convert.h"
#include "com/error.h"

namespace com {

/// Leaves the error in flight as this thread's error object (number, source, description) and returns its code.
HRESULT reportCurrentError() noexcept;

/// The edge between COM and C++: runs `body` and turns whatever it throws into a failure code and an error object.
template <class Body>
HRESULT comBoundary(Body&& body) noexcept
{
    try {
        body();
        return S_OK;
    }
    catch (...) {
        return reportCurrentError();
    }
}

/// The caller's variable of an out-pointer, cleared; raises E_POINTER when the pointer is null.
template <class Value>
Value& requireOut(Value* out)
{
    if (!out)
        throw platformError(E_POINTER);
    *out = Value{};
    return *out;
}

/// The same for a member with a result: `*out` is cleared before `body` runs, and gets what it returns. Raises
/// E_POINTER without running it when there is no place for the result.
template <class Value, class Body>
HRESULT comBoundary(Value* out, Body&& body) noexcept
{
    return comBoundary([&] {
        Value& result = requireOut(out);
        result = body();
    });
}

/// The caller's variable of a by-reference argument; raises E_POINTER when the pointer is null.
template <class Value>
Value& requireIn(Value* in)
{
    if (!in)
        throw platformError(E_POINTER);
    return *in;
}

/// The text of a by-reference argument; raises E_POINTER when there is none.
inline std::wstring requireText(BSTR* in)
{
    return fromBstr(requireIn(in));
}

/// The truth of a by-reference argument; raises E_POINTER when there is none.
inline bool requireBool(VARIANT_BOOL* in)
{
    return requireIn(in) != VARIANT_FALSE;
}

} // namespace com
