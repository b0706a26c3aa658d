#include "com/boundary.h"
#include "com/module.h"
#include "com/object.h"
#include "com/server.h"

namespace com {
namespace {

class ClassFactory final : public UnknownObject<IClassFactory>
{
public:
    explicit ClassFactory(const ClassEntry& entry) : entry_(entry) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID interfaceId, void** object) noexcept override
    {
        return comBoundary([&] {
            requireOut(object);
            if (outer)
                check(CLASS_E_NOAGGREGATION);
            check(entry_.create()->QueryInterface(interfaceId, object));
        });
    }

    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) noexcept override
    {
        return comBoundary([&] { lock ? lockModule() : unlockModule(); });
    }

private:
    const ClassEntry& entry_;
};

} // namespace

HRESULT getClassObject(const Server& server, REFCLSID clsid, REFIID interfaceId, void** object) noexcept
{
    return comBoundary([&] {
        requireOut(object);
        for (const ClassEntry& entry : server.classes) {
            if (*entry.clsid != clsid)
                continue;
            check(makeObject<ClassFactory>(entry)->QueryInterface(interfaceId, object));
            return;
        }
        check(CLASS_E_CLASSNOTAVAILABLE);
    });
}

HRESULT canUnloadNow() noexcept
{
    return moduleInUse() ? S_FALSE : S_OK;
}

} // namespace com
