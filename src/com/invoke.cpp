#include "com/invoke.h"

#include "com/boundary.h"
#include "com/convert.h"
#include "com/invoke_arguments.h"
#include "com/module.h"

#include <optional>

using Microsoft::WRL::ComPtr;

namespace com {
namespace {

/// A function description that is given back to its type information.
class Function
{
public:
    Function(ITypeInfo& info, UINT index) : info_(info) { check(info.GetFuncDesc(index, &description_)); }
    ~Function() { info_.ReleaseFuncDesc(description_); }
    Function(const Function&) = delete;
    Function& operator=(const Function&) = delete;

    const FUNCDESC* operator->() const { return description_; }
    const FUNCDESC& operator*() const { return *description_; }

private:
    ITypeInfo& info_;
    FUNCDESC* description_ = nullptr;
};

UINT functionCount(ITypeInfo& info)
{
    TYPEATTR* attributes = nullptr;
    check(info.GetTypeAttr(&attributes));
    const UINT count = attributes->cFuncs;
    info.ReleaseTypeAttr(attributes);
    return count;
}

bool answers(const FUNCDESC& function, const InvokeCall& call)
{
    if (function.memid != call.id || (function.wFuncFlags & FUNCFLAG_FRESTRICTED))
        return false;
    // Scripts without reference assignment hand an object over by plain assignment.
    if (function.invkind == INVOKE_PROPERTYPUTREF)
        return (call.flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    return (call.flags & function.invkind) != 0;
}

std::optional<UINT> findFunction(ITypeInfo& info, const InvokeCall& call)
{
    const UINT count = functionCount(info);
    for (UINT index = 0; index < count; ++index)
        if (answers(*Function(info, index), call))
            return index;
    return std::nullopt;
}

/// Moves the error object that a failed member left into the caller's exception record.
void fillException(HRESULT code, EXCEPINFO& exception)
{
    exception = EXCEPINFO{};
    exception.scode = code;
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, &info) != S_OK)
        return;
    info->GetSource(&exception.bstrSource);
    info->GetDescription(&exception.bstrDescription);
}

HRESULT callFunction(void* object, ITypeInfo& info, const FUNCDESC& function, const InvokeCall& call)
{
    InvokeArguments arguments(info, function, *call.params);
    const HRESULT bound = arguments.bind(call.badArgument);
    if (FAILED(bound))
        return bound;

    SetErrorInfo(0, nullptr);
    _variant_t callResult;
    check(DispCallFunc(object, static_cast<ULONG_PTR>(function.oVft), function.callconv, VT_ERROR, arguments.count(),
                       arguments.types(), arguments.values(), &callResult));
    const HRESULT outcome = callResult.scode;
    // Before the variables are written: letting go of what they held may call anywhere.
    if (FAILED(outcome) && call.exception)
        fillException(outcome, *call.exception);
    const HRESULT written = arguments.writeBack();
    if (FAILED(outcome))
        return call.exception ? DISP_E_EXCEPTION : outcome;
    check(written);
    if (call.result)
        *call.result = arguments.detachResult();
    return S_OK;
}

} // namespace

ITypeInfo& TypeLibraryDispatch::dispatchInfo()
{
    if (!dispatchInfo_)
        dispatchInfo_ = interfaceTypeInfo(interfaceId_);
    return *dispatchInfo_.Get();
}

ITypeInfo& TypeLibraryDispatch::vtableInfo()
{
    if (!vtableInfo_) {
        constexpr UINT kVtablePartner = static_cast<UINT>(-1);
        HREFTYPE partner = 0;
        check(dispatchInfo().GetRefTypeOfImplType(kVtablePartner, &partner));
        check(dispatchInfo().GetRefTypeInfo(partner, &vtableInfo_));
    }
    return *vtableInfo_.Get();
}

HRESULT TypeLibraryDispatch::getTypeInfoCount(UINT* count) noexcept
{
    return comBoundary(count, [&] { return 1U; });
}

HRESULT TypeLibraryDispatch::getTypeInfo(UINT index, ITypeInfo** info) noexcept
{
    return comBoundary([&] {
        requireOut(info);
        if (index != 0)
            throw Error{DISP_E_BADINDEX, moduleName(), runtimeText(kSubscriptOutOfRange)};
        check(dispatchInfo().QueryInterface(IID_PPV_ARGS(info)));
    });
}

HRESULT TypeLibraryDispatch::getIdsOfNames(REFIID reserved, LPOLESTR* names, UINT count, DISPID* ids) noexcept
{
    if (reserved != IID_NULL)
        return DISP_E_UNKNOWNINTERFACE;
    if (!names || !ids || count == 0)
        return E_INVALIDARG;
    HRESULT result = E_UNEXPECTED;
    const HRESULT boundary = comBoundary([&] { result = dispatchInfo().GetIDsOfNames(names, count, ids); });
    return FAILED(boundary) ? boundary : result;
}

HRESULT TypeLibraryDispatch::invoke(void* object, const InvokeCall& call) noexcept
{
    if (call.reserved != IID_NULL)
        return DISP_E_UNKNOWNINTERFACE;
    if (!call.params)
        return E_INVALIDARG;
    if (call.result)
        VariantInit(call.result);
    HRESULT result = E_UNEXPECTED;
    const HRESULT boundary = comBoundary([&] {
        ITypeInfo& info = vtableInfo();
        const std::optional<UINT> index = findFunction(info, call);
        result = index ? callFunction(object, info, *Function(info, *index), call) : DISP_E_MEMBERNOTFOUND;
    });
    return FAILED(boundary) ? boundary : result;
}

} // namespace com
