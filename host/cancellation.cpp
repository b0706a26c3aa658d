#include "cancellation.h"

#include "HostError.h"

#include <windows.h>

namespace {

std::atomic<bool> g_cancelled{false};

BOOL WINAPI onConsoleEvent(DWORD)
{
    // Not left to the platform's own handler: whoever started the program has to learn that it failed.
    if (g_cancelled.exchange(true))
        TerminateProcess(GetCurrentProcess(), kFailed);
    return TRUE;
}

} // namespace

const std::atomic<bool>& cancellation()
{
    static const BOOL installed = SetConsoleCtrlHandler(onConsoleEvent, TRUE);
    static_cast<void>(installed);
    return g_cancelled;
}
