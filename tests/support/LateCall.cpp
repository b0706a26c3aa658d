#include "LateCall.h"

#include "com/convert.h"

LateResult lateInvokeId(IDispatch* object, DISPID id, WORD flags, const LateArguments& arguments)
{
    std::vector<DISPID> names;
    std::vector<VARIANTARG> values; // borrowed
    for (auto named = arguments.named.rbegin(); named != arguments.named.rend(); ++named) {
        names.push_back(named->first);
        values.push_back(named->second);
    }
    for (auto value = arguments.positional.rbegin(); value != arguments.positional.rend(); ++value)
        values.push_back(*value);
    DISPPARAMS params{values.data(), names.data(), static_cast<UINT>(values.size()), static_cast<UINT>(names.size())};

    LateResult result;
    result.badArgument = kNoBadArgument;
    EXCEPINFO exception{};
    result.code = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, &result.value, &exception,
                                 &result.badArgument);
    result.scode = exception.scode;
    result.source = com::takeBstr(exception.bstrSource);
    result.description = com::takeBstr(exception.bstrDescription);
    return result;
}

LateResult lateInvoke(IDispatch* object, const wchar_t* member, WORD flags, const LateArguments& arguments)
{
    LPOLESTR name = const_cast<LPOLESTR>(member);
    DISPID id = DISPID_UNKNOWN;
    LateResult unknown;
    unknown.code = object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
    return FAILED(unknown.code) ? unknown : lateInvokeId(object, id, flags, arguments);
}

LateResult lateCall(IDispatch* object, const wchar_t* member, std::vector<_variant_t> arguments)
{
    return lateInvoke(object, member, DISPATCH_METHOD, {std::move(arguments), {}});
}

LateResult lateGet(IDispatch* object, const wchar_t* member)
{
    return lateInvoke(object, member, DISPATCH_PROPERTYGET);
}

LateResult latePut(IDispatch* object, const wchar_t* member, const _variant_t& value, WORD flags)
{
    return lateInvoke(object, member, flags, {{}, {{DISPID_PROPERTYPUT, value}}});
}

_variant_t byReference(VARIANT& variable)
{
    return byReference(VT_VARIANT, &variable);
}

_variant_t byReference(VARTYPE type, void* variable)
{
    _variant_t reference;
    reference.byref = variable;
    reference.vt = static_cast<VARTYPE>(VT_BYREF | type);
    return reference;
}

_variant_t arrayOf(std::vector<_variant_t> elements)
{
    _variant_t array;
    array.parray = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(elements.size()));
    array.vt = VT_ARRAY | VT_VARIANT;
    auto* place = static_cast<VARIANT*>(array.parray->pvData);
    for (_variant_t& element : elements)
        *place++ = element.Detach();
    return array;
}
