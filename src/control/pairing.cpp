#include "control/pairing.h"

#include "ado/constants.h"
#include "control/RaiseError.h"
#include "control/settings.h"

using namespace quinmark;

namespace Utils {
namespace {

/// `conn`, if it is open; else raises `sUnavailable` on behalf of `sSource`.
std::shared_ptr<clsConn> requireOpen(std::shared_ptr<clsConn> conn, const wchar_t* sSource, const wchar_t* sUnavailable)
{
    if (conn->getConn().state() != ado::adStateOpen)
        Common::RaiseError(sSource, Common::kOwnError, sUnavailable);
    return conn;
}

} // namespace

std::shared_ptr<clsConn> getConnLocal()
{
    return settings().localConnection();
}

std::shared_ptr<clsConn> getConnSource()
try {
    if (settings().localIsSource())
        return requireOpen(getConnLocal(), L"Utils.getConnSource", L"Local database not available as Source");
    return requireOpen(settings().remoteConnection(), L"Utils.getConnSource",
                       L"Remote database not available as Source");
}
catch (...) {
    Common::reraise(L"Utils.getConnSource");
}

std::shared_ptr<clsConn> getConnDest()
try {
    if (settings().localIsSource())
        return requireOpen(settings().remoteConnection(), L"Utils.getConnDest",
                           L"Remote database not available as Destination");
    return requireOpen(getConnLocal(), L"Utils.getConnDest", L"Local database not available as Destination");
}
catch (...) {
    Common::reraise(L"Utils.getConnDest");
}

} // namespace Utils
