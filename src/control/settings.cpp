#include "control/settings.h"

#include "com/convert.h"
#include "com/module.h"
#include "version.h"

namespace quinmark {
namespace {

DWORD g_slot = TLS_OUT_OF_INDEXES;

std::shared_ptr<clsConn> onDemand(std::shared_ptr<clsConn>& holder)
{
    if (!holder)
        holder = std::make_shared<clsConn>();
    return holder;
}

} // namespace

std::shared_ptr<clsConn> Settings::localConnection()
{
    return onDemand(local_);
}

std::shared_ptr<clsConn> Settings::remoteConnection()
{
    return onDemand(remote_);
}

bool Settings::localIsSource() const
{
    return com::upperCase(sLocalConnection) == L"SOURCE";
}

void Settings::abandonConnections()
{
    for (std::shared_ptr<clsConn>* holder : {&local_, &remote_})
        if (*holder)
            (*holder)->abandon();
}

Settings& settings()
{
    auto* current = static_cast<Settings*>(TlsGetValue(g_slot));
    if (!current) {
        auto created = std::make_unique<Settings>();
        if (!TlsSetValue(g_slot, created.get()))
            com::check(HRESULT_FROM_WIN32(GetLastError()));
        current = created.release();
    }
    return *current;
}

bool attachComponent(HINSTANCE module)
{
    com::setModule(module, kComponentName);
    g_slot = TlsAlloc();
    return g_slot != TLS_OUT_OF_INDEXES;
}

void detachThreadSettings()
{
    const std::unique_ptr<Settings> leaving(static_cast<Settings*>(TlsGetValue(g_slot)));
    TlsSetValue(g_slot, nullptr);
    if (leaving)
        leaving->abandonConnections();
}

void detachSettings()
{
    detachThreadSettings();
    TlsFree(g_slot);
}

} // namespace quinmark
