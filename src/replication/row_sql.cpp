#include "replication/row_sql.h"

#include "com/convert.h"
#include "control/RaiseError.h"
#include "control/log.h"
#include "db/sql_literals.h"

using namespace quinmark;

namespace Utils {
namespace {

constexpr wchar_t kSeparator[] = L", ";
constexpr size_t kSeparatorLength = std::size(kSeparator) - 1;

/// An empty text with room for a usual statement: one is composed for every row.
std::wstring buffer()
{
    constexpr size_t kUsualLength = 2000;
    std::wstring text;
    text.reserve(kUsualLength);
    return text;
}

template <class... Parts>
void append(std::wstring& sSql, const Parts&... parts)
{
    (sSql.append(parts), ...);
}

/// Takes off the last two characters, the separator after a list's last item.
void dropSeparator(std::wstring& list)
{
    list.resize(list.size() < kSeparatorLength ? 0 : list.size() - kSeparatorLength);
}

/// Without regard to case. Asked for each column of each row: most differ in length already.
bool isWord(std::wstring_view sText, std::wstring_view capitals)
{
    return sText.size() == capitals.size() && com::upperCase(std::wstring(sText)) == capitals;
}

/// Calls `visit(name, field)` for every column of the row that is copied.
template <class Visit>
void forEachCopiedField(const ado::Recordset& rs, const std::wstring& sTable, Visit visit)
{
    const long count = rs.fieldCount();
    for (long index = 0; index < count; ++index) {
        const ado::Field field = rs.field(index);
        const _variant_t name = field.nameValue();
        const com::TextView sName(name);
        if (!isSkipField(sTable, sName, false))
            visit(sName, field);
    }
}

/// Appends what getValue gives.
void appendValue(std::wstring& sSql, const ado::Field& fld)
try {
    const _variant_t value = fld.value();
    if (value.vt == VT_NULL) {
        sSql += L"Null";
        return;
    }
    switch (literalForm(fld.type())) {
    case LiteralForm::Number:
        sSql += com::TextView(value);
        break;
    case LiteralForm::Bit:
        sSql += com::TextView(_variant_t(Common::SqlBit(com::toVariantBool(com::toBool(value)))));
        break;
    case LiteralForm::Guid:
        Common::appendSqlQuoteOnly(sSql, value);
        break;
    case LiteralForm::Text:
        Common::appendSqlQuote(sSql, com::TextView(value));
        break;
    case LiteralForm::Date:
        Common::appendSqlDate(sSql, com::toDate(value));
        break;
    case LiteralForm::Unsupported:
        showMessage(L"ado type not coded, see debug");
    }
}
catch (...) {
    Common::reraise(L"Utils.getValue");
}

} // namespace

std::wstring getUpdateSql(const ado::Recordset& rs, const std::wstring& sTable, const std::wstring& sWhere)
try {
    std::wstring sSql = buffer();
    append(sSql, L"Update ", sTable, L" set ");
    forEachCopiedField(rs, sTable, [&](std::wstring_view name, const ado::Field& field) {
        append(sSql, name, L" = ");
        appendValue(sSql, field);
        append(sSql, kSeparator);
    });
    dropSeparator(sSql);
    append(sSql, L" where ", sWhere);
    return sSql;
}
catch (...) {
    Common::reraise(L"Utils.getUpdateSql(" + sTable + L")");
}

std::wstring getInsertSql(const ado::Recordset& rs, const std::wstring& sTable)
try {
    std::wstring sColumns;
    std::wstring sValues = buffer();
    forEachCopiedField(rs, sTable, [&](std::wstring_view name, const ado::Field& field) {
        append(sColumns, name, kSeparator);
        appendValue(sValues, field);
        append(sValues, kSeparator);
    });
    dropSeparator(sColumns);
    dropSeparator(sValues);
    std::wstring sSql = buffer();
    append(sSql, L"Insert into ", sTable, L" (", sColumns, L") values (", sValues, L")");
    return sSql;
}
catch (...) {
    Common::reraise(L"Utils.getInsertSql(" + sTable + L")");
}

std::wstring getValue(const ado::Field& fld)
{
    std::wstring sValue;
    appendValue(sValue, fld);
    return sValue;
}

std::wstring getDependentSql(const std::wstring& sDependentTable, const _variant_t& vKey, const std::wstring& sSourceDB)
try {
    if (com::upperCase(sDependentTable) != L"CHART_OPTION_SETTING")
        return {};
    const std::wstring sCondition = L" where chart_option_id = " + Common::SqlQuoteOnly(vKey);
    return L"delete from chart_option_setting" + sCondition + L"; insert into chart_option_setting select * from " +
           sSourceDB + sDependentTable + sCondition;
}
catch (...) {
    Common::reraise(L"Utils.getDependentSql(" + sDependentTable + L")");
}

bool isSkipField(std::wstring_view sTable, std::wstring_view sField, bool bSkipModDate)
{
    if (bSkipModDate && isWord(sField, L"MOD_DATE"))
        return true;
    return isWord(sField, L"LOCK_F") && isWord(sTable, L"PATIENT");
}

} // namespace Utils
