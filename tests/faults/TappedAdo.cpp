#include "TappedAdo.h"

#include "TappedObject.h"

namespace {

constexpr CLSID adoClassId(unsigned long first)
{
    return {first, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x6d, 0x2e, 0xa4}};
}

} // namespace

/// Makes tapped objects of one class inside a `Tapped` scope, and real ones outside.
class TappedFactory final : public com::UnknownObject<IClassFactory>
{
public:
    TappedFactory(TappedObject::SharedTap tap, std::wstring className, Microsoft::WRL::ComPtr<IClassFactory> real)
        : tap_(std::move(tap)),
          class_(std::move(className)),
          real_(std::move(real))
    {
    }

    ULONG STDMETHODCALLTYPE Release() noexcept override
    {
        const allocations::Unwatched own;
        return UnknownObject::Release();
    }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID interfaceId, void** object) noexcept override
    {
        const allocations::Unwatched own;
        if (!tap_->tapping)
            return real_->CreateInstance(outer, interfaceId, object);
        *object = nullptr;
        std::optional<AdoFaultKind> fault;
        if (tap_->journal.recording)
            fault = record();
        if (fault == AdoFaultKind::NoMemory)
            return fail(E_OUTOFMEMORY);
        if (fault == AdoFaultKind::Refused)
            return fail(REGDB_E_CLASSNOTREG);
        return create(interfaceId, object, fault == AdoFaultKind::Lost);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) noexcept override { return S_OK; }

private:
    std::optional<AdoFaultKind> record() const
    {
        AdoCall call;
        call.name = L"create " + class_;
        // A recordset is made for the command at hand; a command for one that follows.
        const bool isCommand = class_ == L"Command";
        call.command = class_ == L"Connection" ? 0 : tap_->journal.lastCommand() + (isCommand ? 1 : 0);
        const std::optional<AdoFaultKind> fault = tap_->journal.add(call);
        const auto open = tap_->open.find(tap_->lastConnection);
        if (fault == AdoFaultKind::Closed && open != tap_->open.end())
            open->second->cut();
        return fault;
    }

    HRESULT fail(HRESULT code) const
    {
        if (class_ == L"Command")
            tap_->journal.newCommand();
        tap_->journal.last().failure = com::platformError(code);
        return code;
    }

    HRESULT create(REFIID interfaceId, void** object, bool lost) const
    {
        Microsoft::WRL::ComPtr<IDispatch> real;
        const HRESULT created = real_->CreateInstance(nullptr, IID_PPV_ARGS(&real));
        if (FAILED(created))
            return created;
        const auto tapped = com::makeObject<TappedObject>(tap_, class_, com::Dispatch(real.Get()), nullptr);
        if (tap_->journal.recording)
            tap_->journal.last().carriedOut = true;
        if (!lost)
            return tapped->QueryInterface(interfaceId, object);
        tap_->journal.last().failure = com::platformError(REGDB_E_CLASSNOTREG);
        return REGDB_E_CLASSNOTREG;
    }

    TappedObject::SharedTap tap_;
    std::wstring class_;
    Microsoft::WRL::ComPtr<IClassFactory> real_;
};

TappedAdo::TappedAdo() : shared_(std::make_shared<Shared>())
{
    const std::pair<unsigned long, const wchar_t*> classes[] = {
        {0x514, L"Connection"}, {0x507, L"Command"}, {0x535, L"Recordset"}};
    for (const auto& [number, name] : classes) {
        const CLSID id = adoClassId(number);
        Microsoft::WRL::ComPtr<IClassFactory> real;
        com::check(CoGetClassObject(id, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&real)));
        const auto factory = com::makeObject<TappedFactory>(shared_, name, real);
        DWORD cookie = 0;
        com::check(CoRegisterClassObject(id, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie));
        registrations_.push_back(cookie);
    }
}

TappedAdo::~TappedAdo()
{
    for (const DWORD cookie : registrations_)
        CoRevokeClassObject(cookie);
    closeKept();
}

AdoJournal& TappedAdo::journal()
{
    return shared_->journal;
}

long TappedAdo::liveObjects() const
{
    return shared_->live;
}

void TappedAdo::whenWritten(std::function<void()> action)
{
    shared_->written = std::move(action);
}

void TappedAdo::closeKept()
{
    for (const auto& [text, connection] : shared_->kept)
        connection.call(L"Close");
    shared_->kept.clear();
}

Tapped::Tapped(TappedAdo& ado, Step step) : ado_(ado)
{
    ado_.shared_->tapping = true;
    ado_.journal().step = step;
}

Tapped::~Tapped()
{
    ado_.shared_->tapping = false;
    ado_.journal().step = Step::Idle;
}
