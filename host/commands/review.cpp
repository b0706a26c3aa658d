#include "cancellation.h"
#include "commands.h"
#include "review/ReviewSite.h"

#include <iostream>

Outcome reviewCommand(const Configuration& configuration)
{
    const std::atomic<bool>& cancelled = cancellation();
    listConflictsCommand(configuration, {}); // what cannot be reached is told before an address is given out
    HttpServer server;
    ReviewSite site(configuration, server.port());
    std::cerr << "Open this address in a browser on this machine; Ctrl-C ends the review.\n";
    std::cout << site.address() << std::endl;
    server.serve([&](const HttpRequest& request) { return site.answer(request); },
                 [&] { return cancelled || site.ended(); });
    return {{{"resolved", site.resolved()}}};
}
