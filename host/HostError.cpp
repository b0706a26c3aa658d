#include "HostError.h"

#include <fmt/format.h>

namespace {

struct Advice
{
    const wchar_t* sText;
    const char* advice;
};

constexpr char kRegistration[] = "The component is not registered for 32-bit programs: run the regsvr32 of SysWOW64 on "
                                 "QuinmarkRepDLL.dll. A 64-bit program cannot load it.";
constexpr char kDsn[] =
    "There is no ODBC data source of that name for 32-bit programs; make it with odbcad32 of SysWOW64.";
constexpr char kLogin[] = "The login quinmarkapp_user or its password is refused; check the source of the password.";
constexpr char k64BitProgram[] = "A 64-bit program cannot load the component; use the 32-bit quinrep.";
constexpr char kBitness[] = "The data source is for 64-bit programs; make one of that name with odbcad32 of SysWOW64.";
constexpr char kTable[] = "Look with `quinrep check` which side lacks the table or is reached by a wrong prefix.";
constexpr char kRights[] =
    "Grant the login quinmarkapp_user the rights that the document \"On SQL Server\", \"4. Rights\", lists.";

constexpr char kReadOnly[] = "The database can only be read: make it writable again (on SQL Server: alter database ... "
                             "set read_write), then run again.";
constexpr char kRestricted[] = "The database does not let the login in: look whether the data source names the right "
                               "one, and whether it is offline, in a restore, or kept for one user or for "
                               "administrators (on SQL Server: alter database ... set multi_user).";
constexpr char kNoRoom[] = "The server has no room left: back up or enlarge the database's log, or make room on its "
                           "disk, then run again.";
constexpr char kLocked[] =
    "Another program kept the row or table locked. No row is half done: look which program it is, then run again.";

/// Advice by a text in the description; the first that fits. Drivers write these in their own words and in the user's
/// language: errors with a number are known by it (see byNumber).
constexpr Advice kAdvice[] = {
    {L"IM002", kDsn},
    {L"Data source name not found", kDsn},
    {L"architecture mismatch", kBitness},
    {L"password authentication failed", kLogin},
    {L"no password supplied", kLogin},
    {L"Cannot open database", kRestricted},
    {L"Login failed", kLogin},
    {L"Connection refused", kServerIsLost},
    {L"could not connect to server", kServerIsLost},
    {L"connection to server", kServerIsLost},
    {L"server closed the connection", kServerIsLost},
    {L"terminating connection", kServerIsLost},
    {L"connection lost", kServerIsLost},
    {L"not connected to the server", kServerIsLost},
    {L"SQL Server does not exist", kServerIsLost},
    {L"Communication link failure", kServerIsLost},
    {L"Login timeout expired", kServerIsLost},
    {L"out of sync on table", "Give both sides of the table the same columns in the same order."},
    {L"out of sync", "The two databases have different schema versions; update the older one first."},
    {L"does not match the version of the database", "Set program_version to the database's version, or update one."},
    {L"control record missing", kInsertControlRecord},
    {L"record missing from control table", kInsertControlRecord},
    {L"Last Replication Date not a valid date", kSetLastTimestamp},
    {L"read-only", kReadOnly},
    {L"can only have one user at a time", kRestricted},
    {L"cannot be opened", kRestricted},
    {L"transaction log for database", kNoRoom},
    {L"filegroup is full", kNoRoom},
    {L"No space left on device", kNoRoom},
    {L"deadlock", kLocked},
    {L"Lock request time out", kLocked},
    {L"lock timeout", kLocked},
    {L"collation conflict", "Give the key column the same collation on both sides."},
    {L"permission denied", kRights},
    {L"permission was denied", kRights},
    {L"Invalid object name", kTable},
    {L"Subscript out of range", "The databases may belong to two offices (control row DBOffice), or have more than one "
                                "version row."},
    {L"not a valid Win32 application", k64BitProgram},
};

const char* byNumber(const com::Error& error)
{
    constexpr HRESULT kLoginRefused = static_cast<HRESULT>(0x80040E4D);
    constexpr HRESULT kNoTable = static_cast<HRESULT>(0x80040E37);
    if (error.number == com::kCannotCreateObject)
        return kRegistration;
    switch (com::errorResult(error.number)) {
    case REGDB_E_CLASSNOTREG:
        return kRegistration;
    case HRESULT_FROM_WIN32(ERROR_BAD_EXE_FORMAT):
        return k64BitProgram;
    case kLoginRefused:
        return kLogin;
    case kNoTable:
        return kTable;
    default:
        return nullptr;
    }
}

} // namespace

std::string advice(const com::Error& error)
{
    if (const char* known = byNumber(error))
        return known;
    for (const Advice& entry : kAdvice)
        if (error.description.find(entry.sText) != std::wstring::npos)
            return entry.advice;
    return {};
}

std::string hexNumber(const com::Error& error)
{
    return fmt::format("0x{:08X}", static_cast<unsigned long>(com::errorResult(error.number)));
}

HostError missingControlRecord()
{
    return {kNotReady, "the site has no control record", kInsertControlRecord};
}
