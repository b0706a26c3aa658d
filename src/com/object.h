#pragma once

#include "com/invoke.h"
#include "com/module.h"

#include <atomic>
#include <utility>
#include <wrl/client.h>

namespace com {

/// A reference-counted object with one interface besides IUnknown. Begins with one reference (see makeObject).
template <class Interface>
class UnknownObject : public Interface
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID interfaceId, void** object) noexcept override
    {
        if (!object)
            return E_POINTER;
        *object = find(interfaceId);
        if (!*object)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return ++references_; }

    ULONG STDMETHODCALLTYPE Release() noexcept override
    {
        const ULONG left = --references_;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    virtual ~UnknownObject() = default;

    /// The object seen as another of its interfaces; null for one that it does not have.
    virtual void* find(REFIID interfaceId) noexcept
    {
        if (interfaceId == __uuidof(IUnknown) || interfaceId == __uuidof(Interface))
            return static_cast<Interface*>(this);
        return nullptr;
    }

private:
    ModuleLock lock_;
    std::atomic<ULONG> references_{1};
};

/// A public object: dual interface, IDispatch served from the type library, errors with number, source and text.
template <class Interface>
class AutomationObject : public UnknownObject<Interface>, public ISupportErrorInfo
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID interfaceId, void** object) noexcept override
    {
        return UnknownObject<Interface>::QueryInterface(interfaceId, object);
    }
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return UnknownObject<Interface>::AddRef(); }
    ULONG STDMETHODCALLTYPE Release() noexcept override { return UnknownObject<Interface>::Release(); }

    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID interfaceId) noexcept override
    {
        return interfaceId == __uuidof(Interface) ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept override
    {
        return dispatch_.getTypeInfoCount(count);
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) noexcept override
    {
        return dispatch_.getTypeInfo(index, info);
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID,
                                            DISPID* ids) noexcept override
    {
        return dispatch_.getIdsOfNames(reserved, names, count, ids);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO* exception, UINT* badArgument) noexcept override
    {
        return dispatch_.invoke(static_cast<Interface*>(this),
                                {id, reserved, flags, params, result, exception, badArgument});
    }

protected:
    void* find(REFIID interfaceId) noexcept override
    {
        if (interfaceId == __uuidof(IDispatch))
            return static_cast<Interface*>(this);
        if (interfaceId == __uuidof(ISupportErrorInfo))
            return static_cast<ISupportErrorInfo*>(this);
        return UnknownObject<Interface>::find(interfaceId);
    }

private:
    TypeLibraryDispatch dispatch_{__uuidof(Interface)};
};

/// A new object with the one reference held by the result.
template <class Object, class... Args>
Microsoft::WRL::ComPtr<Object> makeObject(Args&&... args)
{
    Microsoft::WRL::ComPtr<Object> object;
    // Not Attach: in mingw-w64's ComPtr that takes a reference of its own.
    *object.GetAddressOf() = new Object(std::forward<Args>(args)...);
    return object;
}

} // namespace com
