#pragma once

#include "QuinmarkRepDLL.h"
#include "ado/Recordset.h"
#include "conflicts/Collection.h"
#include "conflicts/clsConflict.h"
#include "conflicts/clsConflictData.h"
#include "conflicts/key_info.h"

#include <comdef.h>
#include <string>
#include <vector>

namespace quinmark {

/// The table, and the run, in which a conflict was found.
struct ConflictOrigin
{
    std::wstring sTable;
    DATE dNextReplicate;
};

/// A conflict that is not saved yet, with both copies of its row, which its finder closes.
struct FoundConflict
{
    clsConflict conflict;
    /// The columns that differ, as in the conflict's colData; without any there is nothing to save.
    std::vector<clsConflictData> columns;
    ado::Recordset rsSource;
    ado::Recordset rsDestination;
};

/// Reads a row from both databases and describes how its copies differ. Writes nothing. Raises what reading and
/// describing raise.
FoundConflict findConflict(const ConflictOrigin& origin, const _variant_t& vUnid, enumConflictType eConflictType,
                           const Sides& sides);

/// Finds a conflict, between the databases of the pairing, and saves it when a column differs. True when one was saved,
/// false when the copies agree. Failures are raised as "clsReplicateTable.reportConflict".
bool reportConflict(const ConflictOrigin& origin, const _variant_t& vUnid, enumConflictType eConflictType, DATE dSource,
                    DATE dDestination);

/// The columns in which two rows differ, in their order. Columns are paired by position; `mod_date`
/// never counts. A recordset at its end stands for a row that is missing: then every column counts.
std::vector<clsConflictData> differingColumns(const std::wstring& sTable, const ado::Recordset& rsSource,
                                              const ado::Recordset& rsDestination);

/// The same as a collection.
Microsoft::WRL::ComPtr<Collection> getConflictData(const std::wstring& sTable, const ado::Recordset& rsSource,
                                                   const ado::Recordset& rsDestination);

/// The display label of a column: its name.
std::wstring columnLabel(const std::wstring& sTable, const std::wstring& sColumn);

} // namespace quinmark
