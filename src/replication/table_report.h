#pragma once

#include <initializer_list>
#include <string>

namespace quinmark {

/// The rows of a table in replication_counts, and its summary in the log.

/// One row of replication_counts: the table's name followed by `sSuffix` is the count's name.
struct Count
{
    const wchar_t* sSuffix;
    long lValue;
};

/// The statements that record `counts` for a site, joined into one batch.
std::wstring countsBatch(short iReplicationUniqueId, const std::wstring& sTable, std::initializer_list<Count> counts);

/// Records `counts` for a site in the local database, in one batch.
void writeCounts(short iReplicationUniqueId, const std::wstring& sTable, std::initializer_list<Count> counts);

/// One line of a summary: a label and a counter.
struct SummaryLine
{
    const wchar_t* sLabel;
    long lValue;
};

/// A summary entry: "Replicated table: " and `sTable`, then a line for each counter, indented by a tab.
std::wstring summaryText(const std::wstring& sTable, std::initializer_list<SummaryLine> lines);

} // namespace quinmark
