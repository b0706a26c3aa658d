#pragma once

#include "com/error.h"
#include "odbc_handle.h"

#include <string>
#include <string_view>
#include <vector>

namespace adodb {

/// The source that database errors name.
inline constexpr wchar_t kProviderName[] = L"Microsoft OLE DB Provider for ODBC Drivers";

/// One diagnostic record of a driver; `state` is the five-character SQLSTATE.
struct Diagnostic
{
    std::wstring state;
    long native;
    std::wstring message;
};

/// The exception for a failed ODBC call: its first record that is no warning decides number and description.
struct OdbcError : com::Error
{
    std::vector<Diagnostic> diagnostics;
};

/// The HRESULT that ADO reports for a diagnostic record: by its SQLSTATE, and by the server's number where the message
/// names SQL Server. Other servers' numbers mean nothing.
HRESULT hresultOfDiagnostic(const Diagnostic& diagnostic) noexcept;

/// All diagnostic records of a handle, in the driver's order.
std::vector<Diagnostic> readDiagnostics(SQLSMALLINT kind, SQLHANDLE handle);

[[noreturn]] void throwOdbcError(SQLSMALLINT kind, SQLHANDLE handle, const wchar_t* call);
/// Throws OdbcError when a call that came back with information has told a failure among its warnings.
void throwToldError(SQLSMALLINT kind, SQLHANDLE handle, const wchar_t* call);

/// Throws OdbcError unless `rc` is success, success with information or "no data".
template <SQLSMALLINT Kind>
SQLRETURN odbcCheck(SQLRETURN rc, const OdbcHandle<Kind>& handle, const wchar_t* call)
{
    if (!SQL_SUCCEEDED(rc) && rc != SQL_NO_DATA)
        throwOdbcError(Kind, handle.get(), call);
    return rc;
}

} // namespace adodb
