#include "com/dispatch.h"

#include "com/convert.h"
#include "com/error.h"

#include <algorithm>
#include <array>

using Microsoft::WRL::ComPtr;

namespace com {
namespace {

constexpr size_t kMostArguments = 16;

Error exceptionError(EXCEPINFO& exception)
{
    if (exception.pfnDeferredFillIn)
        exception.pfnDeferredFillIn(&exception);
    SysFreeString(exception.bstrHelpFile);
    const HRESULT code = exception.scode != 0 ? exception.scode : kObjectErrorBase + exception.wCode;
    Error error = platformError(code);
    error.source = takeBstr(exception.bstrSource);
    if (std::wstring description = takeBstr(exception.bstrDescription); !description.empty())
        error.description = std::move(description);
    return error;
}

} // namespace

Dispatch Class::create() const
{
    CLSID clsid;
    if (!factory_ && FAILED(CLSIDFromProgID(progId_, &clsid)))
        raiseRuntimeError(kCannotCreateObject);
    if (!factory_)
        check(CoGetClassObject(clsid, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory_)));
    ComPtr<IDispatch> object;
    check(factory_->CreateInstance(nullptr, IID_PPV_ARGS(&object)));
    return Dispatch(object.Get(), memberIds_);
}

DISPID MemberIds::id(IDispatch& object, const wchar_t* member)
{
    for (const auto& [name, id] : ids_)
        if (name == member)
            return id;
    LPOLESTR name = const_cast<LPOLESTR>(member);
    DISPID id = DISPID_UNKNOWN;
    check(object.GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id));
    ids_.emplace_back(member, id);
    return id;
}

const std::shared_ptr<MemberIds>& MemberIds::ofResult(const wchar_t* member)
{
    for (const auto& [name, ids] : results_)
        if (name == member)
            return ids;
    return results_.emplace_back(member, std::make_shared<MemberIds>()).second;
}

Dispatch Dispatch::create(const wchar_t* progId)
{
    return Class(progId).create();
}

Dispatch Dispatch::from(const VARIANT& value)
{
    const _variant_t direct = copyValue(value);
    if (direct.vt != VT_DISPATCH && direct.vt != VT_UNKNOWN)
        raiseRuntimeError(kTypeMismatch);
    if (!direct.punkVal)
        raiseRuntimeError(kObjectNotSet);
    return Dispatch(changeType(direct, VT_DISPATCH).pdispVal);
}

Dispatch Dispatch::resultOf(const wchar_t* member, const VARIANT& value) const
{
    Dispatch object = value.vt == VT_DISPATCH && value.pdispVal ? Dispatch(value.pdispVal) : from(value);
    object.idsAreShared_ = idsAreShared_;
    if (idsAreShared_)
        object.memberIds_ = memberIds_->ofResult(member);
    return object;
}

_variant_t Dispatch::property(const wchar_t* member, std::initializer_list<_variant_t> arguments) const
{
    return invoke(find(member), DISPATCH_PROPERTYGET, {arguments.begin(), arguments.end()});
}

_variant_t Dispatch::property(DISPID id) const
{
    return invoke(id, DISPATCH_PROPERTYGET | DISPATCH_METHOD, {});
}

void Dispatch::put(const wchar_t* member, const _variant_t& value) const
{
    invoke(find(member), DISPATCH_PROPERTYPUT, {&value, 1});
}

void Dispatch::putReference(const wchar_t* member, const Dispatch& value) const
{
    const _variant_t reference(value.get());
    invoke(find(member), DISPATCH_PROPERTYPUTREF, {&reference, 1});
}

_variant_t Dispatch::call(const wchar_t* member, std::initializer_list<_variant_t> arguments) const
{
    return invoke(find(member), DISPATCH_METHOD, {arguments.begin(), arguments.end()});
}

DISPID Dispatch::find(const wchar_t* member) const
{
    if (!object_)
        raiseRuntimeError(kObjectNotSet);
    if (!memberIds_)
        memberIds_ = std::make_shared<MemberIds>();
    return memberIds_->id(*object_.Get(), member);
}

_variant_t Dispatch::invoke(DISPID id, WORD flags, std::span<const _variant_t> arguments) const
{
    if (!object_)
        raiseRuntimeError(kObjectNotSet);
    // The call borrows the arguments; the array it wants runs backwards.
    std::array<VARIANT, kMostArguments> reversed{};
    if (arguments.size() > reversed.size())
        raiseRuntimeError(kInvalidCall);
    std::reverse_copy(arguments.begin(), arguments.end(), reversed.begin());
    DISPID propertyPut = DISPID_PROPERTYPUT;
    const bool put = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    DISPPARAMS params{reversed.data(), put ? &propertyPut : nullptr, static_cast<UINT>(arguments.size()),
                      put ? 1U : 0U};

    _variant_t result;
    EXCEPINFO exception{};
    UINT badArgument = 0;
    // Once the call has failed, nothing tells whose error object the thread has. Clearing it costs some nanoseconds.
    SetErrorInfo(0, nullptr);
    const HRESULT code = object_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, put ? nullptr : &result,
                                         &exception, &badArgument);
    if (code == DISP_E_EXCEPTION)
        throw exceptionError(exception);
    checkCall(code);
    return result;
}

} // namespace com
