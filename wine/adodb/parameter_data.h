#pragma once

#include "ado_types.h"

#include <comdef.h>

#include <string>

namespace adodb {

/// A parameter as its ADO object describes it.
struct ParameterData
{
    std::wstring name;
    long type = adEmpty;
    long direction = adParamInput;
    long size = 0;
    long precision = 0;
    long scale = 0;
    long attributes = 0;
    _variant_t value;

    bool isInput() const noexcept { return direction == adParamInput || direction == adParamInputOutput; }
    bool isOutput() const noexcept { return direction != adParamInput; }
};

/// Raises 3708 when type, direction or size do not suffice to bind the parameter.
void requireComplete(const ParameterData& parameter);

/// The value in the form of the parameter's type; Null and Empty stay. Raises 3421 for a value of another kind and for
/// text or bytes longer than the size.
_variant_t coerceValue(const ParameterData& parameter, const VARIANT& value);

} // namespace adodb
