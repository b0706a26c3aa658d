#include "cancellation.h"

#include <windows.h>

namespace {

std::atomic<bool> g_cancelled{false};

BOOL WINAPI onConsoleEvent(DWORD)
{
    const bool again = g_cancelled.exchange(true);
    return again ? FALSE : TRUE;
}

} // namespace

const std::atomic<bool>& cancellation()
{
    static const BOOL installed = SetConsoleCtrlHandler(onConsoleEvent, TRUE);
    static_cast<void>(installed);
    return g_cancelled;
}
