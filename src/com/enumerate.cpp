#include "com/enumerate.h"

#include "com/boundary.h"
#include "com/convert.h"
#include "com/dispatch.h"
#include "com/error.h"
#include "com/object.h"

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

class ItemEnumerator final : public UnknownObject<IEnumVARIANT>
{
public:
    ItemEnumerator(std::vector<_variant_t> items, size_t next) : items_(std::move(items)), next_(next) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* values, ULONG* fetched) noexcept override
    {
        if (!values || (!fetched && count != 1))
            return E_POINTER;
        ULONG done = 0;
        for (; done < count && next_ < items_.size(); ++done, ++next_) {
            VariantInit(&values[done]);
            if (const HRESULT copied = VariantCopy(&values[done], &items_[next_]); FAILED(copied))
                return copied;
        }
        if (fetched)
            *fetched = done;
        return done == count ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE Skip(ULONG count) noexcept override
    {
        const size_t left = items_.size() - next_;
        next_ += count < left ? count : left;
        return count <= left ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE Reset() noexcept override
    {
        next_ = 0;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** clone) noexcept override
    {
        return comBoundary(clone, [&] { return makeObject<ItemEnumerator>(items_, next_).Detach(); });
    }

private:
    std::vector<_variant_t> items_;
    size_t next_;
};

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

ComPtr<IEnumVARIANT> enumeratorOf(std::vector<_variant_t> items)
{
    return makeObject<ItemEnumerator>(std::move(items), size_t{0});
}

} // namespace com
