#pragma once

#include <oaidl.h>
#include <wrl/client.h>

namespace com {

/// The arguments of one IDispatch::Invoke.
struct InvokeCall
{
    DISPID id;
    REFIID reserved;
    WORD flags;
    DISPPARAMS* params;
    VARIANT* result;
    EXCEPINFO* exception;
    UINT* badArgument;
};

/// IDispatch of a dual interface, served from the type library.
///
/// Every argument is brought into its declared form before the call: a variable of a script is converted to the
/// declared by-reference type and written back after the call, a left-out optional argument gets its declared default
/// (a text: the empty text), surplus arguments answer DISP_E_BADPARAMCOUNT, missing ones DISP_E_PARAMNOTOPTIONAL, and
/// what cannot be converted DISP_E_TYPEMISMATCH with the argument's index. Restricted members are not callable.
class TypeLibraryDispatch
{
public:
    explicit TypeLibraryDispatch(REFIID interfaceId) : interfaceId_(interfaceId) {}

    HRESULT getTypeInfoCount(UINT* count) noexcept;
    HRESULT getTypeInfo(UINT index, ITypeInfo** info) noexcept;
    HRESULT getIdsOfNames(REFIID reserved, LPOLESTR* names, UINT count, DISPID* ids) noexcept;
    HRESULT invoke(void* object, const InvokeCall& call) noexcept;

private:
    ITypeInfo& dispatchInfo();
    ITypeInfo& vtableInfo();

    IID interfaceId_;
    Microsoft::WRL::ComPtr<ITypeInfo> dispatchInfo_;
    Microsoft::WRL::ComPtr<ITypeInfo> vtableInfo_;
};

} // namespace com
