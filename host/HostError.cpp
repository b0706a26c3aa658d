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
constexpr Advice kAdvice[] = {
    {L"IM002", "There is no ODBC data source of that name for 32-bit programs; make it with odbcad32 of SysWOW64."},
    {L"Data source name not found", "There is no ODBC data source of that name for 32-bit programs; make it with "
                                    "odbcad32 of SysWOW64."},
    {L"password authentication failed", "The login quinmarkapp_user or its password is refused; check the password's "
                                        "source in the configuration."},
    {L"Login failed", "The login quinmarkapp_user or its password is refused; check the password's source in the "
                      "configuration."},
    {L"out of sync", "The two databases have different schema versions; update the older one first."},
    {L"does not match the version of the database", "Set program_version to the database's version, or update one."},
    {L"control record missing", "Insert the site's row into replication_control of the local database."},
    {L"Subscript out of range", "The databases may belong to two offices (control row DBOffice), or have more than one "
                                "version row."},
};

} // namespace

std::string advice(const com::Error& error)
{
    if (error.number == com::kCannotCreateObject)
        return "The component is not registered for 32-bit programs: regsvr32 QuinmarkRepDLL.dll. A 64-bit program "
               "cannot load it.";
    for (const Advice& entry : kAdvice)
        if (error.description.find(entry.sText) != std::wstring::npos)
            return entry.advice;
    return {};
}

std::string describe(const com::Error& error)
{
    const auto code = static_cast<unsigned long>(com::errorResult(error.number));
    std::string text =
        fmt::format("{} (0x{:08X}) {}: {}", error.number, code, toUtf8(error.source), toUtf8(error.description));
    const std::string whatToDo = advice(error);
    return whatToDo.empty() ? text : text + "\n  " + whatToDo;
}
