#pragma once

#include "ado/constants.h"
#include "db/clsConn.h"

namespace quinmark {

/// Runs a query whose rows are only read, once and in order: read-only, forward-only, on the server.
inline ado::Recordset openForwardOnly(clsConn& conn, const std::wstring& sSql)
{
    return conn.execSqlRs(sSql, ado::adLockReadOnly, ado::adOpenForwardOnly, ado::adUseServer);
}

} // namespace quinmark
