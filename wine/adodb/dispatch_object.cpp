#include "dispatch_object.h"

#include "com/boundary.h"
#include "com/convert.h"
#include "com/enumerate.h"
#include "sql_tokens.h"

#include <algorithm>

namespace adodb {

namespace {

const VARIANT& dereferenced(const VARIANT& value) noexcept
{
    return V_VT(&value) == (VT_BYREF | VT_VARIANT) ? *V_VARIANTREF(&value) : value;
}

/// The position of `name` in a blank-separated list, or -1.
long positionOf(std::wstring_view list, std::wstring_view name)
{
    for (long position = 0; !list.empty(); ++position) {
        const size_t end = std::min(list.find(L' '), list.size());
        if (equalsIgnoringCase(list.substr(0, end), name))
            return position;
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return -1;
}

unsigned kindsOfFlags(WORD flags)
{
    if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF))
        return kPut;
    return kMethod | kGet;
}

HRESULT reportException(EXCEPINFO* exception) noexcept
{
    if (!exception)
        return com::reportCurrentError();
    try {
        const com::Error error = com::currentError();
        *exception = {};
        exception->scode = com::errorResult(error.number);
        exception->bstrSource = com::newBstr(error.source);
        exception->bstrDescription = com::newBstr(error.description);
        return DISP_E_EXCEPTION;
    }
    catch (...) {
        return E_OUTOFMEMORY;
    }
}

} // namespace

Call::Call(const DISPPARAMS& params, WORD flags, VARIANT* result) : flags_(flags), result_(result)
{
    const unsigned positional = params.cArgs - params.cNamedArgs;
    for (unsigned index = 0; index < positional; ++index) {
        if (index >= kMostArguments)
            throw com::platformError(DISP_E_BADPARAMCOUNT);
        arguments_[index] = &params.rgvarg[params.cArgs - 1 - index];
        count_ = index + 1;
    }
    for (unsigned named = 0; named < params.cNamedArgs; ++named) {
        const DISPID id = params.rgdispidNamedArgs[named];
        if (id == DISPID_PROPERTYPUT) {
            newValue_ = &params.rgvarg[named];
            continue;
        }
        if (id < 0 || id >= static_cast<DISPID>(kMostArguments))
            throw com::platformError(DISP_E_PARAMNOTFOUND);
        arguments_[id] = &params.rgvarg[named];
        count_ = std::max(count_, static_cast<unsigned>(id) + 1);
    }
    if (isPut() && !newValue_)
        com::check(DISP_E_PARAMNOTOPTIONAL);
}

bool Call::has(unsigned index) const noexcept
{
    return index < count_ && arguments_[index] && !com::isMissing(dereferenced(*arguments_[index]));
}

_variant_t Call::argument(unsigned index) const
{
    return has(index) ? com::copyValue(*arguments_[index]) : _variant_t();
}

std::wstring Call::text(unsigned index) const
{
    return has(index) ? com::toText(argument(index)) : std::wstring();
}

long Call::number(unsigned index, long fallback) const
{
    if (!has(index))
        return fallback;
    const VARIANT& value = *arguments_[index];
    return V_VT(&value) == VT_I4 ? V_I4(&value) : com::toInt32(com::copyValue(value));
}

void Call::writeBack(unsigned index, const _variant_t& value) const
{
    if (!has(index) || !(V_VT(arguments_[index]) & VT_BYREF))
        return;
    const VARIANT& target = *arguments_[index];
    if (V_VT(&target) == (VT_BYREF | VT_VARIANT)) {
        com::check(VariantCopy(V_VARIANTREF(&target), const_cast<_variant_t*>(&value)));
        return;
    }
    const _variant_t converted = com::changeType(value, static_cast<VARTYPE>(V_VT(&target) & ~VT_BYREF));
    switch (V_VT(&target)) {
    case VT_BYREF | VT_I4:
        *V_I4REF(&target) = V_I4(&converted);
        break;
    case VT_BYREF | VT_I2:
        *V_I2REF(&target) = V_I2(&converted);
        break;
    default:
        com::check(DISP_E_TYPEMISMATCH);
    }
}

void Call::returns(_variant_t value)
{
    if (result_)
        *result_ = value.Detach();
}

void Call::returns(IDispatch* object)
{
    if (!result_)
        return;
    V_VT(result_) = VT_DISPATCH;
    V_DISPATCH(result_) = object;
    if (object)
        object->AddRef();
}

void Call::property(long& member)
{
    if (isPut())
        member = com::toInt32(newValue());
    else
        returns(_variant_t(member, VT_I4));
}

void Call::property(bool& member)
{
    if (isPut())
        member = com::toBool(newValue());
    else
        returns(_variant_t(member));
}

void Call::property(std::wstring& member)
{
    if (isPut())
        member = com::toText(newValue());
    else
        returns(com::textVariant(member));
}

HRESULT DispatchObject::GetTypeInfoCount(UINT* count) noexcept
{
    return com::comBoundary([&] { com::requireOut(count) = 0; });
}

HRESULT DispatchObject::GetTypeInfo(UINT, LCID, ITypeInfo** info) noexcept
{
    if (info)
        *info = nullptr;
    return DISP_E_BADINDEX;
}

HRESULT DispatchObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept
{
    if (!names || !ids || count == 0)
        return E_INVALIDARG;
    std::fill_n(ids, count, DISPID_UNKNOWN);
    const auto member = std::ranges::find_if(
        members(), [&](const Member& candidate) { return equalsIgnoringCase(candidate.name, names[0]); });
    if (member == members().end())
        return DISP_E_UNKNOWNNAME;
    ids[0] = member->id;
    bool known = true;
    for (UINT index = 1; index < count; ++index) {
        ids[index] = positionOf(member->parameters, names[index]);
        known = known && ids[index] != DISPID_UNKNOWN;
    }
    return known ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT DispatchObject::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                               EXCEPINFO* exception, UINT*) noexcept
{
    if (!params)
        return E_INVALIDARG;
    if (result)
        VariantInit(result);
    const auto member = std::ranges::find_if(members(), [&](const Member& candidate) {
        return candidate.id == id && (candidate.kinds & kindsOfFlags(flags)) != 0;
    });
    if (member == members().end())
        return DISP_E_MEMBERNOTFOUND;
    try {
        Call arguments(*params, flags, result);
        if (arguments.count() > member->most)
            return DISP_E_BADPARAMCOUNT;
        for (unsigned index = 0; index < member->required; ++index)
            if (!arguments.has(index))
                return DISP_E_PARAMNOTOPTIONAL;
        member->handler(*this, arguments);
        return S_OK;
    }
    catch (...) {
        return reportException(exception);
    }
}

IDispatch* objectOf(const VARIANT& reference) noexcept
{
    const VARIANT& value = dereferenced(reference);
    if (V_VT(&value) == VT_DISPATCH)
        return V_DISPATCH(&value);
    return V_VT(&value) == (VT_DISPATCH | VT_BYREF) ? *V_DISPATCHREF(&value) : nullptr;
}

void returnEnumerator(Call& call, std::vector<_variant_t> items)
{
    call.returns(_variant_t(com::enumeratorOf(std::move(items)).Get()));
}

} // namespace adodb
