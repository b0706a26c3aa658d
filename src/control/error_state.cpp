#include "control/error_state.h"

#include "ado/constants.h"
#include "com/convert.h"
#include "control/RaiseError.h"
#include "control/pairing.h"
#include "control/settings.h"

namespace quinmark {
namespace {

void setParameters(clsConn& conn, short iReplicationUniqueId, bool bError, const std::wstring& sErrorMsg, size_t size)
{
    conn.Parameters(0, ado::adSmallInt, ado::adParamInput, iReplicationUniqueId);
    conn.Parameters(1, ado::adTinyInt, ado::adParamInput, static_cast<short>(bError ? 1 : 0));
    conn.Parameters(2, ado::adVarChar, ado::adParamInput, com::textVariant(sErrorMsg), static_cast<long>(size));
}

} // namespace

void recordError(clsConn& conn, short iReplicationUniqueId, bool bError, const std::wstring& sErrorMsg)
{
    setParameters(conn, iReplicationUniqueId, bError, sErrorMsg, sErrorMsg.size());
    conn.executeSP(L"SetReplicationError");
}

} // namespace quinmark

using namespace quinmark;

namespace Utils {

void setError(bool bError, const std::wstring& sErrorMsg)
try {
    const std::shared_ptr<clsConn> conn = getConnLocal();
    if (conn->getConn().state() != ado::adStateOpen)
        return;
    recordError(*conn, settings().iReplicationUniqueId, bError, sErrorMsg);
}
catch (...) {
    Common::reraise(L"Utils.setError");
}

void resetError()
try {
    const std::shared_ptr<clsConn> conn = getConnLocal();
    setParameters(*conn, settings().iReplicationUniqueId, false, L"", 1);
    conn->executeSP(L"setReplicationError");
}
catch (...) {
    Common::reraise(L"Utils.resetError");
}

} // namespace Utils
