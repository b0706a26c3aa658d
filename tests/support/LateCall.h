#pragma once

#include <comdef.h>
#include <string>
#include <utility>
#include <vector>

/// The answer of one IDispatch::Invoke.
struct LateResult
{
    HRESULT code = E_UNEXPECTED;
    _variant_t value;
    SCODE scode = 0;
    std::wstring source;
    std::wstring description;
    UINT badArgument = 0;
};

/// The arguments of a late-bound call: by position in their order, then by the declared parameter's number (from 0).
struct LateArguments
{
    std::vector<_variant_t> positional;
    std::vector<std::pair<DISPID, _variant_t>> named;
};

/// Calls a member by its id, as a script host does. `badArgument` stays kNoBadArgument when the callee names none.
LateResult lateInvokeId(IDispatch* object, DISPID id, WORD flags, const LateArguments& arguments = {});

/// The same by the member's name; the code of GetIDsOfNames when there is no such member.
LateResult lateInvoke(IDispatch* object, const wchar_t* member, WORD flags, const LateArguments& arguments = {});

LateResult lateCall(IDispatch* object, const wchar_t* member, std::vector<_variant_t> arguments = {});
LateResult lateGet(IDispatch* object, const wchar_t* member);
LateResult latePut(IDispatch* object, const wchar_t* member, const _variant_t& value,
                   WORD flags = DISPATCH_PROPERTYPUT);

inline constexpr UINT kNoBadArgument = 0xBAD;

/// A script's variable as it is handed over: VT_BYREF|VT_VARIANT.
_variant_t byReference(VARIANT& variable);

/// A script's array of these values.
_variant_t arrayOf(std::vector<_variant_t> elements);

/// A typed variable as a compiled host hands it over; `variable` may be null.
_variant_t byReference(VARTYPE type, void* variable);
