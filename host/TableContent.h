#pragma once

#include "Configuration.h"
#include "db/clsConn.h"
#include "replication/row_queries.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// The tables that the method of a configured one copies, each with the column by which its rows are matched: itself,
/// and with computer_type its settings. Each is counted by itself.
std::vector<quinmark::KeyedTable> tablesCopiedBy(const TableConfiguration& table);

/// A row as it is kept for comparisons.
struct ContentRow
{
    std::uint64_t fingerprint = 0;
    /// Whether a query for the key finds this row.
    bool found = false;
};

/// All rows of a table by their keys. Where a key comes again, each further row has its number after it; without a key
/// column, as a full copy may have it, all values of a row are its key.
using TableContent = std::map<std::wstring, ContentRow>;

TableContent readContent(clsConn& conn, const quinmark::KeyedTable& table, bool hasKey);

/// A row is on one side only, or its values differ.
enum class Difference
{
    LeftOnly,
    RightOnly,
    Different,
};

/// `found` says whether a query for the key finds the row wherever it is.
using VisitDifference = std::function<void(const std::wstring& key, Difference difference, bool found)>;
void forEachDifference(const TableContent& left, const TableContent& right, const VisitDifference& visit);
