#include "ForeignObject.h"

#include "com/error.h"

namespace {

/// Hands out a few values, and then may end in ways that an enumerator should not.
class ForeignEnumerator final : public com::UnknownObject<IEnumVARIANT>
{
public:
    ForeignEnumerator(Dice& dice, const Objects& objects) : dice_(dice), objects_(objects), left_(dice.below(5)) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* elements, ULONG* fetched) noexcept override
    {
        if (fetched)
            *fetched = 0;
        if (count == 0 || left_ == 0)
            return dice_.oneIn(5) ? dice_.oneOf({E_FAIL, DISP_E_EXCEPTION, E_OUTOFMEMORY}) : S_FALSE;
        --left_;
        Value element = RandomValues(dice_, objects_).any();
        if (dice_.oneIn(8))
            return S_OK;
        std::swap(*elements, element.get());
        if (fetched)
            *fetched = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** clone) noexcept override
    {
        *clone = nullptr;
        return E_NOTIMPL;
    }

private:
    Dice& dice_;
    const Objects& objects_;
    size_t left_;
};

constexpr HRESULT kNoSuchMember = com::kNoSuchMember | static_cast<HRESULT>(0x800A0000);
constexpr HRESULT kTypeMismatch = com::kTypeMismatch | static_cast<HRESULT>(0x800A0000);
constexpr HRESULT kSqlError = static_cast<HRESULT>(0x80040E14);

HRESULT WINAPI fillLater(EXCEPINFO* exception)
{
    exception->bstrSource = SysAllocString(L"Foreign");
    exception->bstrDescription = SysAllocString(L"Filled in when asked");
    exception->scode = E_ACCESSDENIED;
    return S_OK;
}

} // namespace

HRESULT ForeignObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept
{
    for (UINT index = 0; index < count; ++index)
        ids[index] = DISPID_UNKNOWN;
    if (dice_.oneIn(10))
        return dice_.oneOf({DISP_E_UNKNOWNNAME, E_FAIL, E_OUTOFMEMORY});
    ids[0] = static_cast<DISPID>(100 + wcslen(names[0]));
    return S_OK;
}

HRESULT ForeignObject::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO* exception,
                              UINT* badArgument) noexcept
{
    if (dice_.oneIn(6))
        callBack_();
    switch (dice_.below(10)) {
    case 0:
        return raise(exception);
    case 1:
        if (badArgument && dice_.oneIn(2))
            *badArgument = 77;
        return dice_.oneOf({E_FAIL, DISP_E_MEMBERNOTFOUND, DISP_E_TYPEMISMATCH, E_OUTOFMEMORY, DISP_E_BADPARAMCOUNT,
                            kNoSuchMember, kSqlError});
    case 2:
        return S_FALSE;
    default:
        return succeed(id, result);
    }
}

HRESULT ForeignObject::raise(EXCEPINFO* exception)
{
    if (!exception || dice_.oneIn(4))
        return DISP_E_EXCEPTION;
    *exception = EXCEPINFO{};
    if (dice_.oneIn(3))
        exception->pfnDeferredFillIn = fillLater;
    else if (dice_.oneIn(3))
        exception->wCode = static_cast<WORD>(dice_.bits());
    else {
        exception->scode = dice_.oneOf({S_OK, E_FAIL, kTypeMismatch, S_FALSE});
        exception->bstrSource = SysAllocString(L"Foreign");
        exception->bstrDescription = SysAllocString(dice_.oneIn(3) ? L"" : L"Foreign failure");
    }
    return DISP_E_EXCEPTION;
}

HRESULT ForeignObject::succeed(DISPID id, VARIANT* result)
{
    if (!result || dice_.oneIn(10))
        return S_OK;
    if (id == DISPID_NEWENUM && !dice_.oneIn(5)) {
        const auto enumerator = com::makeObject<ForeignEnumerator>(dice_, objects_);
        result->vt = VT_UNKNOWN;
        result->punkVal = enumerator.Get();
        enumerator->AddRef();
        return S_OK;
    }
    Value value = RandomValues(dice_, objects_).any();
    // A default value that is an object again would send the platform's conversion round in circles.
    if (id != DISPID_VALUE || (value->vt != VT_DISPATCH && value->vt != VT_UNKNOWN))
        std::swap(*result, value.get());
    return S_OK;
}
