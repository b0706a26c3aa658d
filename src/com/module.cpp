#include "com/module.h"

#include "com/error.h"

#include <atomic>
#include <utility>

using Microsoft::WRL::ComPtr;

namespace com {
namespace {

HINSTANCE g_module = nullptr;
const wchar_t* g_name = L"";
// Zero-initialised and without destructors: nothing is left to do, or to go wrong, when the module is unloaded.
SRWLOCK g_lock = SRWLOCK_INIT;
ITypeLib* g_typeLibrary = nullptr;
// Not under the lock: a thread may wait for the loader in LoadTypeLibEx while it holds that, and `abandon` is called
// by the loader.
std::atomic<long> g_users = 0;

class LockGuard
{
public:
    LockGuard() { AcquireSRWLockExclusive(&g_lock); }
    ~LockGuard() { ReleaseSRWLockExclusive(&g_lock); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;
};

void releaseUnusedTypeLibrary()
{
    ITypeLib* unused = nullptr;
    {
        const LockGuard guard;
        if (g_users == 0)
            unused = std::exchange(g_typeLibrary, nullptr);
    }
    if (unused)
        unused->Release();
}

} // namespace

void setModule(HINSTANCE module, const wchar_t* name)
{
    g_module = module;
    g_name = name;
}

const wchar_t* moduleName()
{
    return g_name;
}

std::wstring modulePath()
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(g_module, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0)
            check(HRESULT_FROM_WIN32(GetLastError()));
        if (length < path.size())
            return path.substr(0, length);
        path.resize(path.size() * 2);
    }
}

void lockModule()
{
    ++g_users;
}

void unlockModule()
{
    if (--g_users == 0)
        releaseUnusedTypeLibrary();
}

bool moduleInUse()
{
    if (g_users != 0)
        return true;
    releaseUnusedTypeLibrary();
    return false;
}

void ModuleLock::abandon()
{
    --g_users;
    abandoned_ = true;
}

ComPtr<ITypeInfo> interfaceTypeInfo(REFIID interfaceId)
{
    const LockGuard guard;
    if (!g_typeLibrary)
        check(LoadTypeLibEx(modulePath().c_str(), REGKIND_NONE, &g_typeLibrary));
    ComPtr<ITypeInfo> info;
    check(g_typeLibrary->GetTypeInfoOfGuid(interfaceId, &info));
    return info;
}

} // namespace com
