#include "HostError.h"

#include "text.h"

#include <fmt/format.h>

namespace {

struct Advice
{
    const wchar_t* sText;
    const char* advice;
};

/// By what stands in the description; the first that fits.
constexpr char kDsn[] =
    "There is no ODBC data source of that name for 32-bit programs; make it with odbcad32 of SysWOW64.";
constexpr char kLogin[] =
    "The login quinmarkapp_user or its password is refused; check the password's source in the configuration.";
constexpr char kServer[] = "The server does not answer; look whether it runs and the network is up, then try again.";
constexpr char kControl[] = "Insert the site's row into replication_control of the local database.";

constexpr Advice kAdvice[] = {
    {L"IM002", kDsn},
    {L"Data source name not found", kDsn},
    {L"password authentication failed", kLogin},
    {L"Login failed", kLogin},
    {L"Connection refused", kServer},
    {L"could not connect to server", kServer},
    {L"connection to server", kServer},
    {L"server closed the connection", kServer},
    {L"terminating connection", kServer},
    {L"connection lost", kServer},
    {L"not connected to the server", kServer},
    {L"SQL Server does not exist", kServer},
    {L"Communication link failure", kServer},
    {L"Login timeout expired", kServer},
    {L"out of sync on table", "Give both sides of the table the same columns in the same order."},
    {L"out of sync", "The two databases have different schema versions; update the older one first."},
    {L"does not match the version of the database", "Set program_version to the database's version, or update one."},
    {L"control record missing", kControl},
    {L"record missing from control table", kControl},
    {L"Last Replication Date not a valid date", "Set last_timestamp of the site's control record to a date before all "
                                                "changes that are to be replicated."},
    {L"Subscript out of range", "The databases may belong to two offices (control row DBOffice), or have more than one "
                                "version row."},
    {L"not a valid Win32 application", "A 64-bit program cannot load the component; use the 32-bit quinrep."},
};

bool cannotCreate(const com::Error& error)
{
    return error.number == com::kCannotCreateObject || com::errorResult(error.number) == REGDB_E_CLASSNOTREG;
}

} // namespace

std::string advice(const com::Error& error)
{
    if (cannotCreate(error))
        return "The component is not registered for 32-bit programs: run the regsvr32 of SysWOW64 on "
               "QuinmarkRepDLL.dll. A 64-bit program cannot load it.";
    for (const Advice& entry : kAdvice)
        if (error.description.find(entry.sText) != std::wstring::npos)
            return entry.advice;
    return {};
}

std::string hexNumber(const com::Error& error)
{
    return fmt::format("0x{:08X}", static_cast<unsigned long>(com::errorResult(error.number)));
}

std::string describe(const com::Error& error)
{
    const std::string text =
        fmt::format("{} ({}) {}: {}", error.number, hexNumber(error), toUtf8(error.source), toUtf8(error.description));
    const std::string whatToDo = advice(error);
    return whatToDo.empty() ? text : text + "\n  " + whatToDo;
}
