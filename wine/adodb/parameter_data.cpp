#include "parameter_data.h"

#include "ado_error.h"
#include "com/convert.h"
#include "com/registration.h"
#include "value_conversion.h"

namespace adodb {

namespace {

constexpr wchar_t kParameterSource[] = L"ADODB.Parameter";

bool isNothing(const VARIANT& value)
{
    return V_VT(&value) == VT_NULL || V_VT(&value) == VT_EMPTY;
}

_variant_t changed(const VARIANT& value, VARTYPE type)
{
    _variant_t result;
    if (FAILED(
            VariantChangeTypeEx(&result, const_cast<VARIANT*>(&value), LOCALE_USER_DEFAULT, VARIANT_ALPHABOOL, type)))
        raiseAdoError(kDataConversion, kParameterSource);
    return result;
}

void requireLength(const ParameterData& parameter, size_t length)
{
    if (parameter.size > 0 && length > static_cast<size_t>(parameter.size))
        raiseAdoError(kDataConversion, kParameterSource);
}

/// Without references; an object, a Field above all, stands for its default value.
_variant_t plainValue(const VARIANT& given)
{
    const _variant_t value = com::copyValue(given);
    if (V_VT(&value) != VT_DISPATCH)
        return value;
    _variant_t inner;
    DISPPARAMS none = {};
    if (!V_DISPATCH(&value) ||
        FAILED(V_DISPATCH(&value)->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none,
                                          &inner, nullptr, nullptr)))
        raiseAdoError(kDataConversion, kParameterSource);
    return inner;
}

_variant_t coerceGuid(const VARIANT& value)
{
    GUID guid = {};
    const _variant_t text = changed(value, VT_BSTR);
    if (!tryParseGuid(std::wstring(V_BSTR(&text), SysStringLen(V_BSTR(&text))), guid))
        raiseAdoError(kDataConversion, kParameterSource);
    return com::textVariant(com::guidText(guid));
}

_variant_t coerceBytes(const ParameterData& parameter, const VARIANT& value)
{
    if (V_VT(&value) != (VT_ARRAY | VT_UI1))
        raiseAdoError(kDataConversion, kParameterSource);
    requireLength(parameter, bytesOfVariant(value).size());
    return value;
}

_variant_t coerceText(const ParameterData& parameter, const VARIANT& value)
{
    _variant_t text = changed(value, VT_BSTR);
    requireLength(parameter, SysStringLen(V_BSTR(&text)));
    return text;
}

} // namespace

void requireComplete(const ParameterData& parameter)
{
    const TypeInfo* type = findType(parameter.type);
    const bool knownDirection = parameter.direction >= adParamInput && parameter.direction <= adParamReturnValue;
    if (!type || !knownDirection || (type->isVariable() && parameter.size <= 0))
        raiseAdoError(kParameterImproper, kParameterSource);
}

_variant_t coerceValue(const ParameterData& parameter, const VARIANT& given)
{
    const _variant_t value = plainValue(given);
    const TypeInfo* type = findType(parameter.type);
    if (isNothing(value) || !type)
        return value;
    if (type->type == adGUID)
        return coerceGuid(value);
    if (type->cType == SQL_C_BINARY)
        return coerceBytes(parameter, value);
    if (type->isText())
        return coerceText(parameter, value);
    return changed(value, type->variantType);
}

} // namespace adodb
