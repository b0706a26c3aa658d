#include "AdoProxy.h"

#include "com/convert.h"

using Microsoft::WRL::ComPtr;

namespace {

constexpr IID kProxiedId = {0x5e0c0b51, 0x8f0d, 0x4c0e, {0x9a, 0x3a, 0x52, 0x11, 0x6d, 0x20, 0x7b, 0x93}};

/// The proxy is at work.
class Entered
{
public:
    explicit Entered(std::shared_ptr<AdoHooks> hooks) : hooks_(std::move(hooks)) { hooks_->enter(); }
    ~Entered() { hooks_->leave(); }
    Entered(const Entered&) = delete;
    Entered& operator=(const Entered&) = delete;

private:
    std::shared_ptr<AdoHooks> hooks_;
};

/// The class of the object that a member gives.
std::wstring classGiven(const std::wstring& className, const std::wstring& member)
{
    if (member == L"Execute")
        return L"Recordset";
    if (member == L"CreateParameter")
        return L"Parameter";
    if (member == L"Item")
        return className == L"Fields" ? L"Field" : L"Parameter";
    return member;
}

struct Creation final : AdoCall
{
    Creation(std::shared_ptr<AdoHooks> hooks, const std::wstring& ofClass, ComPtr<IClassFactory> factory)
        : AdoCall(nullptr, ofClass, L"create"),
          hooks_(std::move(hooks)),
          factory_(std::move(factory))
    {
    }

    HRESULT passOn() override
    {
        ComPtr<IDispatch> real;
        const HRESULT code = factory_->CreateInstance(nullptr, IID_PPV_ARGS(&real));
        if (FAILED(code))
            return code;
        made = com::makeObject<ProxiedObject>(hooks_, className, real.Get(), nullptr);
        object = made.Get();
        return S_OK;
    }

    ComPtr<ProxiedObject> made;

private:
    std::shared_ptr<AdoHooks> hooks_;
    ComPtr<IClassFactory> factory_;
};

class ProxyFactory final : public com::UnknownObject<IClassFactory>
{
public:
    ProxyFactory(std::shared_ptr<AdoHooks> hooks, std::wstring className, ComPtr<IClassFactory> real)
        : hooks_(std::move(hooks)),
          className_(std::move(className)),
          real_(std::move(real))
    {
    }

    ULONG STDMETHODCALLTYPE Release() noexcept override
    {
        const Entered entered(hooks_);
        return UnknownObject::Release();
    }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID interfaceId, void** object) noexcept override
    {
        const Entered entered(hooks_);
        if (!hooks_->wantsProxy())
            return real_->CreateInstance(outer, interfaceId, object);
        *object = nullptr;
        Creation creation(hooks_, className_, real_);
        const HRESULT code = hooks_->call(creation);
        return SUCCEEDED(code) ? creation.made->QueryInterface(interfaceId, object) : code;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) noexcept override { return S_OK; }

private:
    std::shared_ptr<AdoHooks> hooks_;
    std::wstring className_;
    ComPtr<IClassFactory> real_;
};

} // namespace

HRESULT AdoCall::raise(HRESULT code, const wchar_t* source, const wchar_t* description) const
{
    *exception = {};
    exception->scode = code;
    exception->bstrSource = SysAllocString(source);
    exception->bstrDescription = SysAllocString(description);
    return DISP_E_EXCEPTION;
}

struct ProxiedObject::MemberCall final : AdoCall
{
    MemberCall(ProxiedObject& on, const std::wstring& name) : AdoCall(&on, on.className, name) {}

    HRESULT passOn() override
    {
        DISPPARAMS passed = params;
        passed.rgvarg = arguments.data();
        const HRESULT code = object->real->Invoke(id, IID_NULL, locale, flags, &passed, result, exception, badArgument);
        if (SUCCEEDED(code))
            object->wrap(*this);
        return code;
    }

    DISPID id = DISPID_UNKNOWN;
    LCID locale = 0;
    DISPPARAMS params{};
    UINT* badArgument = nullptr;
};

ProxiedObject::ProxiedObject(std::shared_ptr<AdoHooks> hooks, std::wstring ofClass, IDispatch* object,
                             const ProxiedObject* parent)
    : className(std::move(ofClass)),
      real(object),
      hooks_(std::move(hooks))
{
    if (parent)
        inherit(*parent);
    hooks_->created(*this);
}

ProxiedObject::~ProxiedObject()
{
    hooks_->released(*this);
}

ULONG ProxiedObject::Release() noexcept
{
    const Entered entered(hooks_);
    return LateObject::Release();
}

void* ProxiedObject::find(REFIID interfaceId) noexcept
{
    return interfaceId == kProxiedId ? this : LateObject::find(interfaceId);
}

ProxiedObject* ProxiedObject::of(const VARIANT& value)
{
    ComPtr<IUnknown> object;
    if (value.vt == VT_DISPATCH && value.pdispVal)
        value.pdispVal->QueryInterface(kProxiedId, reinterpret_cast<void**>(object.GetAddressOf()));
    return static_cast<ProxiedObject*>(static_cast<void*>(object.Get()));
}

HRESULT ProxiedObject::GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) noexcept
{
    const Entered entered(hooks_);
    const HRESULT code = real->GetIDsOfNames(reserved, names, count, locale, ids);
    if (SUCCEEDED(code))
        hooks_->members_[{className, ids[0]}] = names[0];
    return code;
}

HRESULT ProxiedObject::Invoke(DISPID id, REFIID, LCID locale, WORD flags, DISPPARAMS* params, VARIANT* result,
                              EXCEPINFO* exception, UINT* badArgument) noexcept
{
    const Entered entered(hooks_);
    MemberCall call(*this, hooks_->members_[{className, id}]);
    call.id = id;
    call.locale = locale;
    call.flags = flags;
    call.params = *params;
    call.arguments.assign(params->rgvarg, params->rgvarg + params->cArgs);
    call.result = result;
    call.exception = exception;
    call.badArgument = badArgument;
    // ADO's own objects know nothing of the proxy.
    for (VARIANTARG& argument : call.arguments)
        if (const ProxiedObject* object = of(argument)) {
            if (call.is(L"Recordset", L"Open"))
                inherit(*object);
            if (call.is(L"Command", L"ActiveConnection"))
                connectionString = object->connectionString;
            argument.pdispVal = object->real.Get();
        }
    follow(call);
    return hooks_->call(call);
}

void ProxiedObject::inherit(const ProxiedObject& from)
{
    connectionString = from.connectionString;
    statement = from.statement;
    isProcedure = from.isProcedure;
    number = from.number;
}

void ProxiedObject::follow(const AdoCall& call)
{
    constexpr long kStoredProcedure = 4;
    if (call.is(L"Connection", L"Open"))
        connectionString = com::toText(call.argument(0));
    if (call.is(L"Command", L"CommandText") && call.isPut())
        statement = com::toText(call.argument(0));
    if (call.is(L"Command", L"CommandType") && call.isPut())
        isProcedure = com::toInt32(call.argument(0)) == kStoredProcedure;
}

void ProxiedObject::wrap(const AdoCall& call)
{
    if (!call.result || call.result->vt != VT_DISPATCH || !call.result->pdispVal)
        return;
    const ComPtr<IDispatch> given = call.result->pdispVal;
    VariantClear(call.result);
    call.result->pdispVal = new ProxiedObject(hooks_, classGiven(className, call.member), given.Get(), this);
    call.result->vt = VT_DISPATCH;
}

AdoProxy::AdoProxy(const std::shared_ptr<AdoHooks>& hooks)
{
    const std::pair<CLSID, const wchar_t*> classes[] = {
        {kAdoConnectionId, L"Connection"}, {kAdoCommandId, L"Command"}, {kAdoRecordsetId, L"Recordset"}};
    for (const auto& [id, name] : classes) {
        ComPtr<IClassFactory> real;
        com::check(CoGetClassObject(id, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&real)));
        classes_.emplace_back(id, com::makeObject<ProxyFactory>(hooks, name, real).Get());
    }
}
