#pragma once

#include <comdef.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <wrl/client.h>

/// Late-bound calls by ids that are known, with nothing between the caller and Invoke. A failed call throws
/// std::runtime_error.
namespace bare {

inline void check(HRESULT code)
{
    if (FAILED(code))
        throw std::runtime_error("a call into ADO failed: " + std::to_string(code));
}

inline DISPID idOf(IDispatch* object, const wchar_t* member)
{
    LPOLESTR name = const_cast<LPOLESTR>(member);
    DISPID id = DISPID_UNKNOWN;
    check(object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id));
    return id;
}

inline VARIANT number(long value)
{
    VARIANT variant;
    variant.vt = VT_I4;
    variant.lVal = value;
    return variant;
}

inline VARIANT missing()
{
    VARIANT variant;
    variant.vt = VT_ERROR;
    variant.scode = DISP_E_PARAMNOTFOUND;
    return variant;
}

/// A text that lives as long as this.
class Text
{
public:
    explicit Text(std::wstring_view text) : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    ~Text() { SysFreeString(text_); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;

    VARIANT value() const
    {
        VARIANT variant;
        variant.vt = VT_BSTR;
        variant.bstrVal = text_;
        return variant;
    }

private:
    BSTR text_;
};

/// `arguments` run backwards, as Invoke wants them.
template <size_t Count>
void call(IDispatch* object, DISPID id, VARIANT (&arguments)[Count], VARIANT* result = nullptr)
{
    DISPPARAMS params{arguments, nullptr, static_cast<UINT>(Count), 0};
    check(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, result, nullptr, nullptr));
}

inline void call(IDispatch* object, DISPID id)
{
    DISPPARAMS params{};
    check(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, nullptr, nullptr, nullptr));
}

inline void put(IDispatch* object, DISPID id, VARIANT value, WORD flags = DISPATCH_PROPERTYPUT)
{
    DISPID name = DISPID_PROPERTYPUT;
    DISPPARAMS params{&value, &name, 1, 1};
    check(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, nullptr, nullptr, nullptr));
}

/// The caller owns what comes back.
inline VARIANT get(IDispatch* object, DISPID id, VARIANT* index = nullptr)
{
    VARIANT result;
    VariantInit(&result);
    DISPPARAMS params{index, nullptr, index ? 1U : 0U, 0};
    check(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &params, &result, nullptr, nullptr));
    return result;
}

/// The object in a value that the caller owns; the value is used up.
inline Microsoft::WRL::ComPtr<IDispatch> taken(const VARIANT& value)
{
    Microsoft::WRL::ComPtr<IDispatch> object;
    if (value.vt != VT_DISPATCH)
        throw std::runtime_error("ADO has returned no object");
    *object.GetAddressOf() = value.pdispVal;
    return object;
}

/// What objects of a class are made by; looked up by the caller once.
inline Microsoft::WRL::ComPtr<IClassFactory> classObject(const wchar_t* progId)
{
    CLSID id;
    check(CLSIDFromProgID(progId, &id));
    Microsoft::WRL::ComPtr<IClassFactory> factory;
    check(CoGetClassObject(id, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory)));
    return factory;
}

inline Microsoft::WRL::ComPtr<IDispatch> create(IClassFactory& factory)
{
    Microsoft::WRL::ComPtr<IDispatch> object;
    check(factory.CreateInstance(nullptr, IID_PPV_ARGS(&object)));
    return object;
}

} // namespace bare
