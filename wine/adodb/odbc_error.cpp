#include "odbc_error.h"

#include <array>

namespace adodb {

namespace {

constexpr HRESULT hresult(unsigned long value)
{
    return static_cast<HRESULT>(value);
}

struct StateRule
{
    std::wstring_view prefix; ///< of the SQLSTATE; the first rule that fits wins
    HRESULT result;
};

// ODBC's own states and those of PostgreSQL, which its driver passes on unchanged.
constexpr std::array kStateRules{
    StateRule{L"28", hresult(0x80040E4D)},                                              // logon refused
    StateRule{L"42S02", hresult(0x80040E37)},                                           // no such table
    StateRule{L"42P01", hresult(0x80040E37)}, StateRule{L"42501", hresult(0x80040E09)}, // permission denied
    StateRule{L"42", hresult(0x80040E14)},    // syntax error or access violation
    StateRule{L"23", hresult(0x80040E2F)},    // integrity constraint
    StateRule{L"HYT", hresult(0x80040E31)},   // timeout
    StateRule{L"57014", hresult(0x80040E31)}, // statement cancelled by statement_timeout
};

} // namespace

HRESULT hresultOfDiagnostic(const Diagnostic& diagnostic) noexcept
{
    for (const StateRule& rule : kStateRules)
        if (diagnostic.state.starts_with(rule.prefix))
            return rule.result;
    // The PostgreSQL driver reports a refused logon as 08001; only the server's text tells it from a dead server.
    const auto says = [&](const wchar_t* text) { return diagnostic.message.find(text) != std::wstring::npos; };
    if (diagnostic.state == L"08001" && (says(L"authentication failed") || says(L"no password supplied")))
        return hresult(0x80040E4D);
    return E_FAIL;
}

std::vector<Diagnostic> readDiagnostics(SQLSMALLINT kind, SQLHANDLE handle)
{
    std::vector<Diagnostic> records;
    std::wstring text(SQL_MAX_MESSAGE_LENGTH, L'\0');
    for (SQLSMALLINT number = 1;;) {
        wchar_t state[SQL_SQLSTATE_SIZE + 1] = {};
        SQLINTEGER native = 0;
        SQLSMALLINT length = 0;
        const SQLRETURN rc = SQLGetDiagRecW(kind, handle, number, state, &native, text.data(),
                                            static_cast<SQLSMALLINT>(text.size()), &length);
        if (!SQL_SUCCEEDED(rc))
            return records;
        if (static_cast<size_t>(length) >= text.size() && text.size() < SHRT_MAX) {
            text.resize(SHRT_MAX);
            continue;
        }
        records.push_back({state, native, text.c_str()});
        ++number;
    }
}

OdbcError errorOf(SQLSMALLINT kind, SQLHANDLE handle, const wchar_t* call)
{
    OdbcError error;
    error.diagnostics = readDiagnostics(kind, handle);
    if (error.diagnostics.empty())
        error.diagnostics.push_back({L"HY000", 0, std::wstring(call) + L" failed and the driver gave no reason."});
    error.number = hresultOfDiagnostic(error.diagnostics.front());
    error.source = kProviderName;
    error.description = error.diagnostics.front().message;
    return error;
}

void throwOdbcError(SQLSMALLINT kind, SQLHANDLE handle, const wchar_t* call)
{
    throw errorOf(kind, handle, call);
}

} // namespace adodb
