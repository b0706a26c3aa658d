#include "com/invoke_arguments.h"

#include "com/convert.h"
#include "com/error.h"

namespace com {
namespace {

bool isResult(const ELEMDESC& element)
{
    return (element.paramdesc.wParamFlags & PARAMFLAG_FRETVAL) != 0;
}

bool isPut(const FUNCDESC& function)
{
    return function.invkind == INVOKE_PROPERTYPUT || function.invkind == INVOKE_PROPERTYPUTREF;
}

bool isLeftOut(const VARIANTARG* given)
{
    return !given || isMissing(*given);
}

bool isObject(VARTYPE type)
{
    return type == VT_DISPATCH || type == VT_UNKNOWN;
}

/// The value that an argument stands for: a script's variable is followed to what it holds. Null when it leads nowhere.
VARIANTARG* innermost(VARIANTARG* given)
{
    constexpr int kDeepestReference = 8;
    for (int depth = 0; depth < kDeepestReference; ++depth) {
        if ((given->vt & VT_BYREF) && !given->byref)
            return nullptr;
        if (given->vt != (VT_BYREF | VT_VARIANT))
            return given;
        given = given->pvarVal;
    }
    return nullptr;
}

HRESULT changeForm(VARIANT& to, VARIANTARG& from, VARTYPE type)
{
    VARIANTARG* value = innermost(&from);
    if (!value)
        return DISP_E_TYPEMISMATCH;
    if (type == VT_VARIANT)
        return VariantCopyInd(&to, value);
    _variant_t direct;
    const HRESULT copied = VariantCopyInd(&direct, value);
    if (FAILED(copied))
        return copied;
    // The platform's rules know no object for a plain value, and no plain value for the absence of an object.
    if (isObject(type) != isObject(direct.vt) && (isObject(type) || !direct.punkVal))
        return DISP_E_TYPEMISMATCH;
    return VariantChangeTypeEx(&to, &direct, LOCALE_USER_DEFAULT, VARIANT_ALPHABOOL, type);
}

/// The code for a value that has no form of the declared type: only "does not fit" is told apart.
HRESULT conversionFailure(HRESULT code)
{
    return code == DISP_E_OVERFLOW || code == E_OUTOFMEMORY ? code : DISP_E_TYPEMISMATCH;
}

} // namespace

InvokeArguments::InvokeArguments(ITypeInfo& info, const FUNCDESC& function, const DISPPARAMS& params)
    : info_(info),
      function_(function),
      params_(params),
      parameters_(static_cast<size_t>(function.cParams))
{
    for (size_t index = 0; index < parameters_.size(); ++index) {
        const ELEMDESC& element = function.lprgelemdescParam[index];
        parameters_[index].type = declaredType(element.tdesc);
        parameters_[index].description = &element.paramdesc;
        hasResult_ = hasResult_ || isResult(element);
    }
}

VARTYPE InvokeArguments::declaredType(const TYPEDESC& type) const
{
    const TYPEDESC& target = type.vt == VT_PTR ? *type.lptdesc : type;
    if (target.vt == VT_PTR)
        return VT_DISPATCH; // a pointer to a pointer: one of the library's own objects
    if (target.vt != VT_USERDEFINED)
        return target.vt;
    return VT_I4; // the only types of its own that the library passes by value are enums
}

HRESULT InvokeArguments::bind(UINT* badArgument)
{
    const HRESULT assigned = assignGiven(badArgument);
    if (FAILED(assigned))
        return assigned;
    const size_t expected = parameters_.size() - (hasResult_ ? 1 : 0);
    for (size_t index = 0; index < expected; ++index) {
        Parameter& parameter = parameters_[index];
        const HRESULT converted = isLeftOut(parameter.given) ? useDefault(parameter) : convert(parameter);
        if (FAILED(converted)) {
            if (badArgument && parameter.given)
                *badArgument = static_cast<UINT>(parameter.given - params_.rgvarg);
            return converted;
        }
    }
    for (Parameter& parameter : parameters_)
        reference(parameter);
    return S_OK;
}

HRESULT InvokeArguments::assignGiven(UINT* badArgument)
{
    const size_t expected = parameters_.size() - (hasResult_ ? 1 : 0);
    if (params_.cArgs > expected || params_.cNamedArgs > params_.cArgs)
        return DISP_E_BADPARAMCOUNT;
    for (UINT index = 0; index < params_.cArgs; ++index) {
        const bool named = index < params_.cNamedArgs;
        // The array runs backwards, with the named arguments in front.
        size_t position = params_.cArgs - 1 - index;
        if (named && isPut(function_) && params_.rgdispidNamedArgs[index] == DISPID_PROPERTYPUT)
            position = expected - 1;
        else if (named)
            position = static_cast<size_t>(params_.rgdispidNamedArgs[index]);
        if (position >= expected || parameters_[position].given) {
            if (badArgument)
                *badArgument = index;
            return DISP_E_PARAMNOTFOUND;
        }
        parameters_[position].given = &params_.rgvarg[index];
    }
    return S_OK;
}

HRESULT InvokeArguments::convert(Parameter& parameter)
{
    // A variable of just the declared type is handed over itself.
    const VARIANTARG* variable = innermost(parameter.given);
    if (variable && variable->vt == (VT_BYREF | parameter.type)) {
        parameter.variable = variable->byref;
        return S_OK;
    }
    const HRESULT result = changeForm(parameter.value, *parameter.given, parameter.type);
    return FAILED(result) ? conversionFailure(result) : S_OK;
}

HRESULT InvokeArguments::useDefault(Parameter& parameter)
{
    const PARAMDESC& description = *parameter.description;
    if (!(description.wParamFlags & PARAMFLAG_FOPT))
        return DISP_E_PARAMNOTOPTIONAL;
    // A type library cannot hold the default of a text by reference; the empty text is the only one declared.
    if (parameter.type == VT_BSTR || !(description.wParamFlags & PARAMFLAG_FHASDEFAULT)) {
        parameter.value = changeType(_variant_t(), parameter.type);
        return S_OK;
    }
    parameter.value = changeType(description.pparamdescex->varDefaultValue, parameter.type);
    return S_OK;
}

void InvokeArguments::reference(Parameter& parameter)
{
    if (parameter.type != VT_VARIANT && parameter.value.vt == VT_EMPTY)
        parameter.value.vt = parameter.type; // the place for a return value, all bits zero
    parameter.argument.vt = static_cast<VARTYPE>(VT_BYREF | parameter.type);
    if (parameter.variable)
        parameter.argument.byref = parameter.variable;
    else if (parameter.type == VT_VARIANT)
        parameter.argument.pvarVal = &parameter.value;
    else
        parameter.argument.byref = &parameter.value.byref;
    types_.push_back(parameter.argument.vt);
    pointers_.push_back(&parameter.argument);
}

HRESULT InvokeArguments::writeBack()
{
    HRESULT result = S_OK;
    for (Parameter& parameter : parameters_) {
        if (isLeftOut(parameter.given) || parameter.variable || !(parameter.given->vt & VT_BYREF))
            continue;
        // A variable of another plain type than the declared one cannot take the value, and keeps its own.
        VARIANTARG* variable = innermost(parameter.given);
        if (variable->vt & VT_BYREF)
            continue;
        const HRESULT copied = VariantCopy(variable, &parameter.value);
        if (SUCCEEDED(result))
            result = copied;
    }
    return result;
}

VARIANT InvokeArguments::detachResult()
{
    return hasResult_ ? parameters_.back().value.Detach() : VARIANT{};
}

} // namespace com
