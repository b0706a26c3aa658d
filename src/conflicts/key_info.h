#pragma once

#include "QuinmarkRepDLL.h"
#include "db/clsConn.h"

#include <comdef.h>
#include <string>

namespace quinmark {

/// Whether rows of a table are identified by a number; all other tables have GUIDs. Names are compared without case.
bool hasNumericKey(const std::wstring& sTable);

/// The query that describes a row of a table in words; empty for a table that cannot be described.
std::wstring keyInfoSql(const std::wstring& sTable, const _variant_t& vUnid);

/// The connections of the two databases, for a caller that reads from both.
struct Sides
{
    clsConn& source;
    clsConn& destination;
};

/// A one-line description of a row, read from the side that has it by the kind of conflict. Failures, also those of a
/// table, kind or row that cannot be described, are raised as "clsReplicateTable.getKeyInfo".
std::wstring getKeyInfo(const std::wstring& sTable, const _variant_t& vUnid, long eConflictType, const Sides& sides);

} // namespace quinmark
