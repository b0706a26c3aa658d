#include "RandomValues.h"

#include <cmath>
#include <limits>

namespace {

constexpr VARTYPE kNumbers[] = {VT_I1, VT_UI1, VT_I2,  VT_UI2,  VT_I4,   VT_UI4,  VT_I8,      VT_UI8,  VT_R4,
                                VT_R8, VT_CY,  VT_INT, VT_UINT, VT_BOOL, VT_DATE, VT_DECIMAL, VT_ERROR};
/// Types that no VARIANT may have; none comes with a value.
constexpr VARTYPE kBroken[] = {VT_VOID, VT_HRESULT, VT_LPSTR, VT_CLSID, VT_VECTOR | VT_I4, VT_ILLEGALMASKED};

BSTR text(const wchar_t* characters)
{
    return SysAllocString(characters);
}

} // namespace

Value RandomValues::fitting(VARTYPE type, const std::wstring& parameter)
{
    if (type == VT_BSTR)
        return Value(fittingText(parameter));
    if (type == VT_DISPATCH)
        return anyObject();
    if (type == VT_VARIANT && parameter == L"col" && dice_.oneIn(2))
        return anyArray();
    Value value(type);
    if (type == VT_BOOL)
        value->boolVal = dice_.oneIn(2) ? VARIANT_TRUE : VARIANT_FALSE;
    else if (type == VT_I2)
        value->iVal = static_cast<short>(dice_.below(6));
    else if (type == VT_I4)
        value->lVal = static_cast<long>(dice_.below(8));
    else if (type == VT_DATE)
        value->date = 45000.0 + static_cast<double>(dice_.below(1000)) / 7;
    else
        return any();
    return value;
}

Value RandomValues::any()
{
    switch (dice_.below(10)) {
    case 0:
        return Value();
    case 1:
        return Value(static_cast<VARTYPE>(VT_NULL));
    case 2:
    case 3:
        return Value(anyText());
    case 4:
    case 5:
        return anyObject();
    case 6:
        return anyArray();
    case 7:
        return dice_.oneIn(4) ? Value(kBroken[dice_.below(std::size(kBroken))]) : anyNumber();
    default:
        return anyNumber();
    }
}

BSTR RandomValues::fittingText(const std::wstring& parameter)
{
    if (parameter == L"sLocalConnection")
        return text(dice_.oneOf({L"SOURCE", L"destination", L"Source", L"DESTINATION", L"NONE"}));
    if (parameter == L"sLogFile")
        return dice_.oneIn(6) ? anyText() : text(dice_.oneOf({L"nul", L"callers.log", L"no such folder\\a.log", L""}));
    if (parameter == L"sPgmVersion")
        return text(dice_.oneOf({L"laptop", L"3.46", L"1"}));
    if (parameter == L"sDependentTable")
        return text(dice_.oneOf({L"", L"", L"chart_option_setting"}));
    if (parameter == L"sTable" || parameter == L"value")
        return text(dice_.oneOf({L"patient", L"users", L"shortcut", L"procs", L"chart_hdr", L"chart_item", L"config",
                                 L"computer_type", L"combo_values", L"dentist", L"specialist"}));
    return dice_.oneIn(3) ? anyText() : text(dice_.oneOf({L"office", L"laptop", L"unid", L"procs_id", L"x"}));
}

BSTR RandomValues::anyText()
{
    switch (dice_.below(8)) {
    case 0:
        return nullptr;
    case 1:
        return SysAllocStringLen(L"a\0b", 3);
    case 2:
        return text(std::wstring(dice_.below(20000), L'\'').c_str());
    case 3:
        return SysAllocStringByteLen("odd", 3);
    default:
        return text(dice_.oneOf({L"", L"1", L"-32769", L"1e400", L"True", L"O'Hara", L"2025-03-10", L"&H7FFF", L"  7 ",
                                 L"\xD800\xFFFF", L"%s%n{0}", L"{", L"99999999999", L"1/0/0", L"\r\n"}));
    }
}

Value RandomValues::anyNumber()
{
    const VARTYPE type = kNumbers[dice_.below(std::size(kNumbers))];
    Value number(type);
    number->ullVal = dice_.oneIn(2) ? dice_.below(20) : dice_.bits();
    if (type == VT_R8 || type == VT_DATE)
        number->dblVal = anyDouble();
    if (type == VT_R4)
        number->fltVal = static_cast<float>(dice_.below(100)) * (dice_.oneIn(5) ? 1e37F : 0.5F);
    if (type == VT_DECIMAL) {
        number->decVal = DECIMAL{};
        number->decVal.Lo64 = dice_.bits();
        number->decVal.scale = static_cast<BYTE>(dice_.below(29));
    }
    if (type == VT_ERROR && dice_.oneIn(2))
        number->scode = DISP_E_PARAMNOTFOUND;
    number->vt = type; // which lies in the decimal
    return number;
}

double RandomValues::anyDouble()
{
    using Limits = std::numeric_limits<double>;
    return dice_.oneOf({0.0, -0.0, 1.0, 2.5, -32768.5, 1e300, -1e300, 45000.25, -657434.0, 2958466.0, 1e-320,
                        Limits::infinity(), Limits::quiet_NaN()});
}

Value RandomValues::anyObject()
{
    Value object(static_cast<VARTYPE>(dice_.oneIn(4) ? VT_UNKNOWN : VT_DISPATCH));
    IDispatch* chosen = dice_.oneIn(6) || objects_.empty() ? nullptr : objects_[dice_.below(objects_.size())].Get();
    object->pdispVal = chosen;
    if (chosen)
        chosen->AddRef();
    return object;
}

Value RandomValues::anyArray()
{
    const VARTYPE type = dice_.oneOf<VARTYPE>({VT_VARIANT, VT_VARIANT, VT_DISPATCH, VT_UNKNOWN, VT_BSTR, VT_I4});
    Value array(static_cast<VARTYPE>(VT_ARRAY | type));
    if (dice_.oneIn(10))
        return array;
    SAFEARRAYBOUND bounds[2] = {{static_cast<ULONG>(dice_.below(4)), static_cast<LONG>(dice_.below(9)) - 4}, {2, 0}};
    array->parray = SafeArrayCreate(type, dice_.oneIn(8) ? 2 : 1, bounds);
    if (!array->parray || SafeArrayGetDim(array->parray) != 1)
        return array;
    for (ULONG index = 0; index < bounds[0].cElements; ++index) {
        LONG position = bounds[0].lLbound + static_cast<LONG>(index);
        Value element = anyObject();
        if (type == VT_VARIANT)
            SafeArrayPutElement(array->parray, &position, &element.get());
        else if (type == VT_DISPATCH || type == VT_UNKNOWN)
            SafeArrayPutElement(array->parray, &position, element->punkVal);
    }
    return array;
}
