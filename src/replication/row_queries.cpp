#include "replication/row_queries.h"

#include "db/sql_literals.h"

namespace quinmark {

std::wstring keyCondition(const KeyedTable& table, const _variant_t& vKey)
{
    return table.sKey + L" = " + Common::SqlQuoteOnly(vKey);
}

std::wstring selectRow(const KeyedTable& table, const _variant_t& vKey)
{
    return L"Select * from " + table.sTable + L" where " + keyCondition(table, vKey);
}

std::wstring selectDumpedRow(const KeyedTable& table, const _variant_t& vKey)
{
    return L"select * from " + table.sTable + L" where " + keyCondition(table, vKey);
}

std::wstring deleteRow(const KeyedTable& table, const _variant_t& vKey)
{
    return L"delete from " + table.sTable + L" where " + keyCondition(table, vKey);
}

std::wstring selectChangedRows(const KeyedTable& table, const Prefixes& prefixes, DATE dLastReplicate,
                               const SideAliases& aliases)
{
    const std::wstring src = aliases.sSource;
    const std::wstring dest = aliases.sDestination;
    const std::wstring last = Common::SqlDate(dLastReplicate);
    return L"select " + dest + L"." + table.sKey + L", " + src + L".mod_date " + aliases.sSourceDate + L", " + dest +
           L".mod_date " + aliases.sDestinationDate + L" from " + prefixes.sDestinationDB + table.sTable + L" " + dest +
           L" join " + prefixes.sSourceDB + table.sTable + L" " + src + L" on " + src + L"." + table.sKey + L" = " +
           dest + L"." + table.sKey + L" where " + src + L".mod_date <> " + dest + L".mod_date and ( " + src +
           L".mod_date > " + last + L" or " + dest + L".mod_date > " + last + L")";
}

std::wstring selectMissingRows(const KeyedTable& table, const std::wstring& sHasPrefix,
                               const std::wstring& sLacksPrefix)
{
    return L"select " + table.sKey + L", mod_date from " + sHasPrefix + table.sTable + L" where " + table.sKey +
           L" not in (select " + table.sKey + L" from " + sLacksPrefix + table.sTable + L")";
}

} // namespace quinmark
