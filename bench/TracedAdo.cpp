#include "TracedAdo.h"

#include "TracedObjects.h"
#include "com/error.h"

#include <functional>

using Microsoft::WRL::ComPtr;

namespace {

constexpr CLSID adoClassId(unsigned long first)
{
    return {first, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x6d, 0x2e, 0xa4}};
}

constexpr CLSID kConnectionClass = adoClassId(0x514);
constexpr CLSID kCommandClass = adoClassId(0x507);

/// Makes a traced object around every real one.
template <class Object>
class TracedFactory final : public com::UnknownObject<IClassFactory>
{
public:
    TracedFactory(SharedTrace trace, ComPtr<IClassFactory> real) : trace_(std::move(trace)), real_(std::move(real)) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID interfaceId, void** object) noexcept override
    {
        *object = nullptr;
        ComPtr<IDispatch> real;
        const HRESULT created = real_->CreateInstance(nullptr, IID_PPV_ARGS(&real));
        if (FAILED(created))
            return created;
        return com::makeObject<Object>(trace_, real)->QueryInterface(interfaceId, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) noexcept override { return S_OK; }

private:
    SharedTrace trace_;
    ComPtr<IClassFactory> real_;
};

template <class Object>
DWORD replaceClass(REFCLSID id, const SharedTrace& trace)
{
    ComPtr<IClassFactory> real;
    com::check(CoGetClassObject(id, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&real)));
    const auto factory = com::makeObject<TracedFactory<Object>>(trace, real);
    DWORD cookie = 0;
    com::check(CoRegisterClassObject(id, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie));
    return cookie;
}

} // namespace

TracedAdo::TracedAdo(const std::wstring& tracePath, const std::wstring& sourceDsn)
{
    const auto trace = std::make_shared<TraceState>(tracePath, sourceDsn);
    registrations_ = {replaceClass<TracedConnection>(kConnectionClass, trace),
                      replaceClass<TracedCommand>(kCommandClass, trace)};
}

TracedAdo::~TracedAdo()
{
    for (const DWORD cookie : registrations_)
        CoRevokeClassObject(cookie);
}
