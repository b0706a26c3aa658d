#include "cancellation.h"
#include "commands.h"
#include "review/ReviewSite.h"
#include "text.h"

#include <windows.h>

#include <iostream>
#include <shellapi.h>

namespace {

/// Returns at once; the browser may come later, or not at all.
void openBrowser(const std::string& address)
{
    const HINSTANCE result = ShellExecuteW(nullptr, L"open", toWide(address).c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    if (reinterpret_cast<INT_PTR>(result) <= 32) // an error's number, as documented
        std::cerr << "No browser could be opened. Open the address yourself.\n";
}

} // namespace

Outcome reviewCommand(const Configuration& configuration, bool opensBrowser)
{
    const std::atomic<bool>& cancelled = cancellation();
    listConflictsCommand(configuration, {}); // what cannot be reached is told before an address is given out
    HttpServer server;
    ReviewSite site(configuration, server.port());
    std::cerr << (opensBrowser ? "The browser opens this address" : "Open this address in a browser on this machine")
              << "; Ctrl-C ends the review.\n";
    std::cout << site.address() << std::endl;
    if (opensBrowser)
        openBrowser(site.address());
    server.serve([&](const HttpRequest& request) { return site.answer(request); },
                 [&] { return cancelled || site.ended(); });
    return {{{"resolved", site.resolved()}}};
}
