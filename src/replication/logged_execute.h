#pragma once

#include <string>

/// The data-changing statements of table replication: each is logged at DEBUG with the connection that it runs on, and
/// then run. The connections are those of the pairing, raised as `Utils.getConnDest` raises when not open.

/// Runs `sSql` on the destination; rows affected if `bReturnCount`, else 0.
long executeOnDestination(const std::wstring& sSql, bool bReturnCount = false);

/// Runs `sSql` on the source.
void executeOnSource(const std::wstring& sSql);

/// Runs `sSql` on the local connection and returns the rows affected.
long executeOnLocal(const std::wstring& sSql);
