#include "SiteLock.h"

#include "HostError.h"
#include "com/convert.h"
#include "text.h"

#include <algorithm>

namespace {

/// Without backslashes, which name a namespace.
std::wstring mutexName(const Configuration& configuration)
{
    std::wstring dsn = com::upperCase(toWide(configuration.local().dsn));
    std::replace(dsn.begin(), dsn.end(), L'\\', L'/');
    return L"Global\\quinrep-" + std::to_wstring(static_cast<int>(configuration.site)) + L"-" + dsn;
}

} // namespace

SiteLock::SiteLock(const Configuration& configuration)
    : mutex_(CreateMutexW(nullptr, FALSE, mutexName(configuration).c_str()))
{
    const DWORD waited = mutex_ ? WaitForSingleObject(mutex_, 0) : WAIT_FAILED;
    if (waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED)
        return;
    if (mutex_)
        CloseHandle(mutex_);
    throw HostError(kNotReady, "another run of this site is going on", "Wait for its end, then try again.");
}

SiteLock::~SiteLock()
{
    ReleaseMutex(mutex_);
    CloseHandle(mutex_);
}

bool SiteLock::isHeld(const Configuration& configuration)
{
    const HANDLE mutex = OpenMutexW(SYNCHRONIZE, FALSE, mutexName(configuration).c_str());
    if (!mutex)
        return GetLastError() == ERROR_ACCESS_DENIED; // another user's
    CloseHandle(mutex);
    return true;
}
