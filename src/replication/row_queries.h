#pragma once

#include "db/prefixes.h"

#include <comdef.h>
#include <string>

namespace quinmark {

/// The statements by which replication finds and addresses rows. Table names carry a database prefix where a statement
/// joins both databases; the names of tables and keys are pasted in as they are.

/// A table whose rows are matched by the column `sKey`.
struct KeyedTable
{
    std::wstring sTable;
    std::wstring sKey;
};

/// "sKey = 'value'".
std::wstring keyCondition(const KeyedTable& table, const _variant_t& vKey);

/// "Select * from sTable where ..." on the connection that has the row.
std::wstring selectRow(const KeyedTable& table, const _variant_t& vKey);

/// The same for a row that is dumped; the small "select" marks it in a trace.
std::wstring selectDumpedRow(const KeyedTable& table, const _variant_t& vKey);

std::wstring deleteRow(const KeyedTable& table, const _variant_t& vKey);

/// How a statement names the two copies of a table, and their dates in its result.
struct SideAliases
{
    const wchar_t* sSource;
    const wchar_t* sDestination;
    const wchar_t* sSourceDate;
    const wchar_t* sDestinationDate;
};

/// Rows that both sides have, with different modification dates of which one is later than the last run.
std::wstring selectChangedRows(const KeyedTable& table, const Prefixes& prefixes, DATE dLastReplicate,
                               const SideAliases& aliases);

/// Key and date of the rows that one database has and the other has not; the prefixes name the databases.
std::wstring selectMissingRows(const KeyedTable& table, const std::wstring& sHasPrefix,
                               const std::wstring& sLacksPrefix);

} // namespace quinmark
