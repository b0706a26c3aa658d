#pragma once

#include <oaidl.h>
#include <string>
#include <wrl/client.h>

/// The loaded module: what keeps it loaded, where it lies, and its type library.
namespace com {

/// Set once by DllMain, or by a program when it starts, before anything else of com is used. `name` is a literal: the
/// source of errors that no routine has named.
void setModule(HINSTANCE module, const wchar_t* name);

const wchar_t* moduleName();

/// Full path of the module's file.
std::wstring modulePath();

/// Counts live objects, open connections and server locks; at zero the type library is let go, so that an unloaded
/// module leaves nothing.
void lockModule();
void unlockModule();

/// Whether anything that counts is left. If not, the type library is let go where `ModuleLock::abandon` could not.
bool moduleInUse();

/// Type information of one of the module's interfaces, from the type library in its resources.
Microsoft::WRL::ComPtr<ITypeInfo> interfaceTypeInfo(REFIID interfaceId);

/// Keeps the module loaded for as long as it lives.
class ModuleLock
{
public:
    ModuleLock() { lockModule(); }
    ~ModuleLock()
    {
        if (!abandoned_)
            unlockModule();
    }
    ModuleLock(const ModuleLock&) = delete;
    ModuleLock& operator=(const ModuleLock&) = delete;

    /// Ends the lock, for a moment at which neither a COM call may be made nor another thread waited for.
    void abandon();

private:
    bool abandoned_ = false;
};

} // namespace com
