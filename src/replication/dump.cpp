#include "replication/dump.h"

#include "com/convert.h"
#include "control/RaiseError.h"
#include "control/log.h"
#include "control/pairing.h"
#include "db/forward_only.h"
#include "replication/row_sql.h"

using namespace quinmark;

namespace Utils {
namespace {

constexpr size_t kNameWidth = 20;
constexpr size_t kValueWidth = 50;
constexpr size_t kRulerWidth = 50;

/// `text` in a column of `width` characters: filled up with blanks, or cut.
std::wstring column(const std::wstring& text, size_t width)
{
    std::wstring fixed = text;
    fixed.resize(width, L' ');
    return fixed;
}

std::wstring rule(size_t width)
{
    return std::wstring(width, L'-');
}

std::wstring title(const wchar_t* sKind, const std::wstring& sTable, const ado::Recordset& rs)
{
    return L"Replication Discrepancy (" + std::wstring(sKind) + L") on table: " + sTable + L" --> Unid: " +
           com::concatText(rs.value(L"unid")) + L"\r\n";
}

void writeClosingRuler()
{
    WriteLog(LOG_WARN, rule(kRulerWidth));
}

} // namespace

void dumpDelete(const std::wstring& sTable, const ado::Recordset& rs)
try {
    WriteLog(LOG_WARN, title(L"delete", sTable, rs) + column(L"Field", kNameWidth) + L"Data\r\n" +
                           column(rule(kNameWidth - 1), kNameWidth) + rule(10));
    const long count = rs.fieldCount();
    for (long index = 0; index < count; ++index) {
        const ado::Field field = rs.field(index);
        const std::wstring sName = field.name();
        if (!isSkipField(sTable, sName, false))
            WriteLog(LOG_WARN, column(sName, kNameWidth) + com::concatText(field.value()), true);
    }
    writeClosingRuler();
}
catch (...) {
    Common::reraise(L"Utils.dumpDelete");
}

void dumpDifferences(const std::wstring& sTable, const std::wstring& sSql)
try {
    ado::Recordset primary = openForwardOnly(*getConnDest(), sSql);
    ado::Recordset secondary = openForwardOnly(*getConnSource(), sSql);
    WriteLog(LOG_WARN, title(L"mismatch", sTable, primary) + column(L"Field", kNameWidth) +
                           column(L"Primary", kValueWidth) + L"Secondary\r\n" +
                           column(rule(kNameWidth - 1), kNameWidth) + column(rule(10), kValueWidth) + rule(10));
    const long count = primary.fieldCount();
    for (long index = 0; index < count; ++index) {
        const ado::Field primaryField = primary.field(index);
        const ado::Field secondaryField = secondary.field(index);
        const std::wstring sName = primaryField.name();
        if (sName != secondaryField.name())
            Common::RaiseError(L"Utils.dumpDifferences", Common::kOwnError,
                               L"Replication Error: Fields out of sync on table: " + sTable);
        if (isSkipField(sTable, sName, false))
            continue;
        const std::wstring sPrimary = com::concatText(primaryField.value());
        const std::wstring sSecondary = com::concatText(secondaryField.value());
        if (sPrimary != sSecondary)
            WriteLog(LOG_WARN,
                     column(sName, kNameWidth) + column(sPrimary, kValueWidth) + column(sSecondary, kValueWidth), true);
    }
    writeClosingRuler();
    primary.close();
    secondary.close();
}
catch (...) {
    Common::reraise(L"Utils.dumpDifferences");
}

} // namespace Utils
