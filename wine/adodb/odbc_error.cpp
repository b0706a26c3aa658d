#include "odbc_error.h"

#include <algorithm>
#include <array>
#include <span>

namespace adodb {

namespace {

constexpr HRESULT hresult(unsigned long value)
{
    return static_cast<HRESULT>(value);
}

constexpr HRESULT kCannotConvert = hresult(0x80040E07);
constexpr HRESULT kPermissionDenied = hresult(0x80040E09);
constexpr HRESULT kStatementFailed = hresult(0x80040E14);
constexpr HRESULT kConstraintFailed = hresult(0x80040E2F);
constexpr HRESULT kTimedOut = hresult(0x80040E31);
constexpr HRESULT kNoSuchTable = hresult(0x80040E37);
constexpr HRESULT kLogonRefused = hresult(0x80040E4D);
constexpr HRESULT kValueTooLarge = hresult(0x80040E57);

/// Of several rules, the first that fits wins.
struct Rule
{
    std::wstring_view state; ///< the beginning of the SQLSTATE; empty fits all
    HRESULT result;
    long native = 0; ///< the server's own number; 0 fits all

    bool fits(const Diagnostic& diagnostic) const
    {
        return diagnostic.state.starts_with(state) && (native == 0 || native == diagnostic.native);
    }
};

// Numbers of SQL Server to which its drivers give different states, or only 42000; and states that have an HRESULT of
// their own on SQL Server alone.
constexpr std::array kSqlServerRules{
    Rule{L"", kPermissionDenied, 229}, // on an object
    Rule{L"", kPermissionDenied, 230}, // on a column
    Rule{L"", kPermissionDenied, 262}, // in a database
    Rule{L"", kPermissionDenied, 297}, // for the action
    Rule{L"", kPermissionDenied, 916}, // no user there
    Rule{L"", E_FAIL, 1205},           // deadlock victim
    Rule{L"", kTimedOut, 1222},        // wait for a lock
    Rule{L"", kValueTooLarge, 2628},   // text too long
    Rule{L"", E_FAIL, 3960},           // snapshot conflict
    Rule{L"", E_FAIL, 4060},           // no such database
    Rule{L"", kLogonRefused, 18452},   // not trusted
    Rule{L"", kLogonRefused, 18456},   // password
    Rule{L"", kLogonRefused, 18470},   // disabled
    Rule{L"", kLogonRefused, 18486},   // locked out
    Rule{L"", kLogonRefused, 18487},   // expired
    Rule{L"", kLogonRefused, 18488},   // must be changed
    Rule{L"22001", kValueTooLarge},    // text
    Rule{L"22003", kValueTooLarge},    // number
    Rule{L"HY019", kValueTooLarge},    // FreeTDS's form of 22003
    Rule{L"22007", kCannotConvert},    // no date
    Rule{L"22008", kCannotConvert},    // no such day
    Rule{L"22018", kCannotConvert},    // no number
};

// ODBC's own states and those of PostgreSQL, which its driver passes on unchanged.
constexpr std::array kStateRules{
    Rule{L"28", kLogonRefused},        // user or password
    Rule{L"42S02", kNoSuchTable},      // of ODBC
    Rule{L"42P01", kNoSuchTable},      // of PostgreSQL
    Rule{L"42501", kPermissionDenied}, // of PostgreSQL
    Rule{L"42", kStatementFailed},     // syntax error or access violation
    Rule{L"23", kConstraintFailed},    // integrity constraint
    Rule{L"HYT", kTimedOut},           // time limit of the driver
    Rule{L"57014", kTimedOut},         // statement cancelled by statement_timeout
};

/// Whether a driver for SQL Server says this: one of the names in brackets at the beginning, which ODBC prescribes, is
/// the server's or has it in the driver's. It holds for a logon, too, when the server has not told its name yet.
bool isOfSqlServer(std::wstring_view message)
{
    while (message.starts_with(L'[')) {
        const size_t end = message.find(L']');
        if (message.substr(0, end).find(L"SQL Server") != std::wstring_view::npos)
            return true;
        message.remove_prefix(end == std::wstring_view::npos ? message.size() : end + 1);
    }
    return false;
}

const Rule* findRule(std::span<const Rule> rules, const Diagnostic& diagnostic)
{
    const auto found = std::ranges::find_if(rules, [&](const Rule& rule) { return rule.fits(diagnostic); });
    return found == rules.end() ? nullptr : &*found;
}

/// Neither success nor a warning.
bool isFailure(const Diagnostic& diagnostic) noexcept
{
    return !diagnostic.state.starts_with(L"00") && !diagnostic.state.starts_with(L"01");
}

} // namespace

HRESULT hresultOfDiagnostic(const Diagnostic& diagnostic) noexcept
{
    const Rule* rule = isOfSqlServer(diagnostic.message) ? findRule(kSqlServerRules, diagnostic) : nullptr;
    if (!rule)
        rule = findRule(kStateRules, diagnostic);
    if (rule)
        return rule->result;
    // The PostgreSQL driver reports a refused logon as 08001; only the server's text tells it from a dead server.
    const auto says = [&](const wchar_t* text) { return diagnostic.message.find(text) != std::wstring::npos; };
    if (diagnostic.state == L"08001" && (says(L"authentication failed") || says(L"no password supplied")))
        return kLogonRefused;
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
    const auto failure = std::ranges::find_if(error.diagnostics, isFailure);
    const Diagnostic& cause = failure == error.diagnostics.end() ? error.diagnostics.front() : *failure;
    error.number = hresultOfDiagnostic(cause);
    error.source = kProviderName;
    error.description = cause.message;
    return error;
}

void throwOdbcError(SQLSMALLINT kind, SQLHANDLE handle, const wchar_t* call)
{
    throw errorOf(kind, handle, call);
}

void throwToldError(SQLSMALLINT kind, SQLHANDLE handle, const wchar_t* call)
{
    if (std::ranges::any_of(readDiagnostics(kind, handle), isFailure))
        throwOdbcError(kind, handle, call);
}

} // namespace adodb
