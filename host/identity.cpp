#include "identity.h"

#include "text.h"

#include <lmcons.h>
#include <windows.h>

namespace {

/// The answer of one of the platform's routines that fill a buffer.
std::string answerOf(BOOL(WINAPI* routine)(wchar_t*, DWORD*))
{
    wchar_t name[UNLEN + 1] = L"";
    DWORD length = UNLEN + 1;
    routine(name, &length);
    return toUtf8(name);
}

} // namespace

std::string machineName()
{
    return answerOf(GetComputerNameW);
}

std::string windowsUser()
{
    return answerOf(GetUserNameW);
}
