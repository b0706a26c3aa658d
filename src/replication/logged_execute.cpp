#include "replication/logged_execute.h"

#include "control/database.h"
#include "control/log.h"
#include "control/settings.h"

namespace {

long logAndExecute(const wchar_t* sPrefix, clsConn& conn, const std::wstring& sSql, bool bReturnCount)
{
    Utils::WriteLog(LOG_DEBUG, sPrefix + sSql);
    return conn.execute(sSql, bReturnCount);
}

} // namespace

long executeOnDestination(const std::wstring& sSql, bool bReturnCount)
{
    return logAndExecute(L"ConnDestination: ", *Utils::getConnDest(), sSql, bReturnCount);
}

void executeOnSource(const std::wstring& sSql)
{
    logAndExecute(L"ConnSource: ", *Utils::getConnSource(), sSql, false);
}

long executeOnLocal(const std::wstring& sSql)
{
    return logAndExecute(L"ConnLocal: ", *settings().localConnection(), sSql, true);
}
