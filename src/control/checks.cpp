#include "control/checks.h"

#include "com/convert.h"
#include "control/RaiseError.h"
#include "control/error_state.h"
#include "control/pairing.h"
#include "db/forward_only.h"

#include <array>

using namespace quinmark;

namespace Utils {
namespace {

/// A list of values from both databases, filled from slot 1 on; slot 0 stays empty.
template <size_t Slots>
class Values
{
public:
    /// Appends the `id` of every row; raises 9 when the list is full and 94 for a Null.
    void append(clsConn& conn, const std::wstring& sSql)
    {
        ado::Recordset rs = openForwardOnly(conn, sSql);
        for (; !rs.eof(); rs.moveNext()) {
            ++used_;
            at(used_) = com::trim(com::toText(rs.value(L"id")));
        }
        rs.close();
    }

    std::wstring& at(size_t slot)
    {
        if (slot >= Slots)
            com::raiseRuntimeError(com::kSubscriptOutOfRange);
        return values_[slot];
    }

private:
    std::array<std::wstring, Slots> values_;
    size_t used_ = 0;
};

std::wstring sourceAndDestination(const std::wstring& source, const std::wstring& destination)
{
    return L"  Source = " + source + L", Destination = " + destination;
}

/// The end of a failed check: recorded, then raised. A check's own number never reaches the caller, it is always 0.
[[noreturn]] void failCheck(const wchar_t* sSource)
{
    const std::wstring sDescription = com::currentError().description;
    setError(true, sDescription);
    Common::RaiseError(sSource, 0, sDescription);
}

} // namespace

void checkProgramVersion(const std::wstring& sPgmVersion)
try {
    ado::Recordset rs = openForwardOnly(*getConnLocal(), L"Select * from Control Where Type = 'ReplicationVersion'");
    if (rs.eof())
        Common::RaiseError(L"Utils.checkProgramVersion", Common::kOwnError,
                           L"No version information found on the database for ReplicationVersion");
    const std::wstring sDatabaseVersion = com::trim(com::concatText(rs.value(L"id")));
    rs.close();
    if (sPgmVersion != sDatabaseVersion)
        Common::RaiseError(L"Utils.checkProgramVersion", Common::kOwnError,
                           L"The version of the program does not match the version of the database.\r\n"
                           L"Program version:  " +
                               sPgmVersion + L"  Database Version: " + sDatabaseVersion);
}
catch (...) {
    failCheck(L"Utils.checkProgramVersion");
}

void checkVersions()
try {
    const std::wstring sSql = L"Select [id] from control where type in ('PatInfoVer', 'Version') order by type";
    Values<5> versions;
    versions.append(*getConnSource(), sSql);
    versions.append(*getConnDest(), sSql);
    if (versions.at(1) != versions.at(3))
        Common::RaiseError(L"Utils.checkVersions", Common::kOwnError,
                           L"Database Versions (PatInfoVer) out of sync." +
                               sourceAndDestination(versions.at(1), versions.at(3)));
    if (versions.at(2) != versions.at(4))
        Common::RaiseError(L"Utils.checkVersions", Common::kOwnError,
                           L"Database Versions (Quinmark Version) out of sync." +
                               sourceAndDestination(versions.at(2), versions.at(4)));
}
catch (...) {
    failCheck(L"Utils.checkVersions");
}

void checkOffice()
try {
    const std::wstring sSql = L"Select [id] from control where type = 'DBOffice'";
    Values<3> offices;
    offices.append(*getConnSource(), sSql);
    offices.append(*getConnDest(), sSql);
    // Slot 3 does not exist: for two offices, hosts expect the text "Subscript out of range".
    if (offices.at(1) != offices.at(2))
        Common::RaiseError(L"Utils.checkOffice", Common::kOwnError,
                           L"Databases are from two different Offices" +
                               sourceAndDestination(offices.at(1), offices.at(3)));
}
catch (...) {
    failCheck(L"Utils.checkOffice");
}

} // namespace Utils
