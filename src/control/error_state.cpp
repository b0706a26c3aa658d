#include "control/error_state.h"
#include "ado/constants.h"
#include "com/convert.h"
#include "control/RaiseError.h"
#include "control/settings.h"

namespace Utils {
namespace {

void setParameters(clsConn& conn, bool bError, const std::wstring& sErrorMsg, size_t size)
{
    conn.Parameters(0, ado::adSmallInt, ado::adParamInput, settings().iReplicationUniqueId);
    conn.Parameters(1, ado::adTinyInt, ado::adParamInput, static_cast<short>(bError ? 1 : 0));
    conn.Parameters(2, ado::adVarChar, ado::adParamInput, com::textVariant(sErrorMsg), static_cast<long>(size));
}

} // namespace

void setError(bool bError, const std::wstring& sErrorMsg)
try {
    const std::shared_ptr<clsConn> conn = settings().localConnection();
    if (conn->getConn().state() != ado::adStateOpen)
        return;
    setParameters(*conn, bError, sErrorMsg, sErrorMsg.size());
    conn->executeSP(L"SetReplicationError");
}
catch (...) {
    Common::reraise(L"Utils.setError");
}

void resetError()
try {
    const std::shared_ptr<clsConn> conn = settings().localConnection();
    setParameters(*conn, false, L"", 1);
    conn->executeSP(L"setReplicationError");
}
catch (...) {
    Common::reraise(L"Utils.resetError");
}

} // namespace Utils
