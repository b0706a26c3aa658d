#include "com/collection.h"
#include "com/convert.h"
#include "com/dispatch.h"
#include "com/error.h"

using Microsoft::WRL::ComPtr;

namespace com {
namespace {

using Visitor = std::function<void(const _variant_t&)>;

void forEachInArray(SAFEARRAY* array, VARTYPE elementType, const Visitor& visit)
{
    if (!array || SafeArrayGetDim(array) != 1)
        raiseRuntimeError(kTypeMismatch);
    LONG first = 0;
    LONG last = -1;
    check(SafeArrayGetLBound(array, 1, &first));
    check(SafeArrayGetUBound(array, 1, &last));
    for (LONG index = first; index <= last; ++index) {
        _variant_t element;
        if (elementType == VT_VARIANT)
            check(SafeArrayGetElement(array, &index, &element));
        else {
            check(SafeArrayGetElement(array, &index, &element.byref));
            element.vt = elementType;
        }
        visit(element);
    }
}

void forEachEnumerated(const Dispatch& collection, const Visitor& visit)
{
    const _variant_t source = collection.property(DISPID_NEWENUM);
    ComPtr<IEnumVARIANT> enumerator;
    if ((source.vt != VT_UNKNOWN && source.vt != VT_DISPATCH) || !source.punkVal ||
        FAILED(source.punkVal->QueryInterface(IID_PPV_ARGS(&enumerator))))
        raiseRuntimeError(kNoSuchMember);
    for (;;) {
        _variant_t element;
        ULONG fetched = 0;
        SetErrorInfo(0, nullptr);
        const HRESULT result = enumerator->Next(1, &element, &fetched);
        checkCall(result);
        if (result != S_OK)
            return;
        visit(element);
    }
}

} // namespace

void forEach(const VARIANT& collection, const Visitor& visit)
{
    const _variant_t direct = copyValue(collection);
    const VARTYPE elementType = static_cast<VARTYPE>(direct.vt & VT_TYPEMASK);
    if (!(direct.vt & VT_ARRAY))
        return forEachEnumerated(Dispatch::from(direct), visit);
    if (elementType != VT_VARIANT && elementType != VT_DISPATCH && elementType != VT_UNKNOWN)
        raiseRuntimeError(kTypeMismatch);
    forEachInArray(direct.parray, elementType, visit);
}

} // namespace com
