#pragma once

#include "ado/Recordset.h"

#include <string>

namespace quinmark {

/// The statements of table replication: each is logged at DEBUG with the connection that it runs on, and then run. The
/// connections are those of the pairing, raised as `Utils.getConnDest` raises when not open.

/// Runs `sSql` on that side; rows affected if `bReturnCount`, else 0.
long executeOnDestination(const std::wstring& sSql, bool bReturnCount = false);
long executeOnSource(const std::wstring& sSql, bool bReturnCount = false);

/// Runs `sSql` on the local connection and returns the rows affected.
long executeOnLocal(const std::wstring& sSql);

/// Opens a query, to be read forward once.
ado::Recordset queryOnLocal(const std::wstring& sSql);
ado::Recordset queryOnSource(const std::wstring& sSql);

} // namespace quinmark
