#include "replication/logged_sql.h"

#include "control/log.h"
#include "control/pairing.h"
#include "db/forward_only.h"

namespace quinmark {
namespace {

void logStatement(const wchar_t* sConnection, const std::wstring& sSql)
{
    if (Utils::isLogged(LOG_DEBUG))
        Utils::WriteLog(LOG_DEBUG, sConnection + sSql);
}

constexpr wchar_t kLocal[] = L"ConnLocal: ";
constexpr wchar_t kSource[] = L"ConnSource: ";
constexpr wchar_t kDestination[] = L"ConnDestination: ";

} // namespace

long executeOnDestination(const std::wstring& sSql, bool bReturnCount)
{
    logStatement(kDestination, sSql);
    return Utils::getConnDest()->execute(sSql, bReturnCount);
}

long executeOnSource(const std::wstring& sSql, bool bReturnCount)
{
    logStatement(kSource, sSql);
    return Utils::getConnSource()->execute(sSql, bReturnCount);
}

long executeOnLocal(const std::wstring& sSql)
{
    logStatement(kLocal, sSql);
    return Utils::getConnLocal()->execute(sSql, true);
}

ado::Recordset queryOnLocal(const std::wstring& sSql)
{
    logStatement(kLocal, sSql);
    return openForwardOnly(*Utils::getConnLocal(), sSql);
}

ado::Recordset queryOnSource(const std::wstring& sSql)
{
    logStatement(kSource, sSql);
    return openForwardOnly(*Utils::getConnSource(), sSql);
}

} // namespace quinmark
