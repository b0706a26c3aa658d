#include "conflicts/report_conflict.h"

#include "com/convert.h"
#include "com/error.h"
#include "conflicts/ConflictDataFace.h"
#include "control/RaiseError.h"
#include "control/log.h"
#include "control/pairing.h"
#include "db/forward_only.h"
#include "replication/row_queries.h"
#include "replication/row_sql.h"

namespace quinmark {

using Microsoft::WRL::ComPtr;

namespace {

bool wasRefused(const _variant_t& saved)
{
    return saved.vt == VT_I2 && saved.iVal <= -1;
}

std::wstring selectConflictRow(const std::wstring& sTable, const _variant_t& vUnid)
{
    return selectRow({sTable, L"unid"}, vUnid);
}

void saveConflict(clsConflict& conflict)
{
    if (wasRefused(conflict.save()))
        Common::RaiseError(L"clsReplicateTable.reportConflict", Common::kOwnError,
                           L"Error saving conflict: " + conflict.sErrorMessage());
}

ComPtr<Collection> asCollection(const std::vector<clsConflictData>& columns)
{
    ComPtr<Collection> collection = com::makeObject<Collection>();
    for (const clsConflictData& data : columns) {
        const ComPtr<_clsConflictData> item(com::makeObject<ConflictDataFace>(data));
        collection->add(_variant_t(item.Get()));
    }
    return collection;
}

} // namespace

FoundConflict findConflict(const ConflictOrigin& origin, const _variant_t& vUnid, enumConflictType eConflictType,
                           const Sides& sides)
{
    const std::wstring sSql = selectConflictRow(origin.sTable, vUnid);
    FoundConflict found{.conflict = {},
                        .columns = {},
                        .rsSource = openForwardOnly(sides.source, sSql),
                        .rsDestination = openForwardOnly(sides.destination, sSql)};
    clsConflict& conflict = found.conflict;
    if (hasNumericKey(origin.sTable))
        conflict.lPatientId = com::toInt32(vUnid);
    else
        conflict.vGuid = vUnid;
    conflict.iConflictType = eConflictType;
    conflict.sKeyInfo = getKeyInfo(origin.sTable, vUnid, eConflictType, sides);
    found.columns = differingColumns(origin.sTable, found.rsSource, found.rsDestination);
    conflict.colData = ComPtr<_Collection>(asCollection(found.columns));
    conflict.sTable = origin.sTable;
    conflict.dNextReplicate = origin.dNextReplicate;
    return found;
}

bool reportConflict(const ConflictOrigin& origin, const _variant_t& vUnid, enumConflictType eConflictType, DATE dSource,
                    DATE dDestination)
try {
    Utils::WriteLog(LOG_DEBUG, selectConflictRow(origin.sTable, vUnid));
    const std::shared_ptr<clsConn> source = Utils::getConnSource();
    const std::shared_ptr<clsConn> destination = Utils::getConnDest();
    FoundConflict found = findConflict(origin, vUnid, eConflictType, {*source, *destination});
    found.conflict.dSource = dSource;
    found.conflict.dDestination = dDestination;
    if (!found.columns.empty())
        saveConflict(found.conflict);
    found.rsSource.close();
    found.rsDestination.close();
    return !found.columns.empty();
}
catch (...) {
    Common::reraise(L"clsReplicateTable.reportConflict");
}

std::vector<clsConflictData> differingColumns(const std::wstring& sTable, const ado::Recordset& rsSource,
                                              const ado::Recordset& rsDestination)
{
    std::vector<clsConflictData> differences;
    const bool inSource = !rsSource.eof();
    const bool inDestination = !rsDestination.eof();
    const ado::Recordset& names = inSource ? rsSource : rsDestination;
    const long count = names.fieldCount();
    for (long index = 0; index < count; ++index) {
        const std::wstring sColumn = names.field(index).name();
        if (Utils::isSkipField(sTable, sColumn, true))
            continue;
        const bool compare = inSource && inDestination;
        const std::wstring sSource = inSource ? com::concatText(rsSource.field(index).value()) : L"";
        // With no row on either side the destination is read all the same, which raises ADO's "no current record".
        const std::wstring sDestination =
            inDestination || !inSource ? com::concatText(rsDestination.field(index).value()) : L"";
        if (!compare || sSource != sDestination)
            differences.push_back({columnLabel(sTable, sColumn), sSource, sDestination});
    }
    return differences;
}

ComPtr<Collection> getConflictData(const std::wstring& sTable, const ado::Recordset& rsSource,
                                   const ado::Recordset& rsDestination)
{
    return asCollection(differingColumns(sTable, rsSource, rsDestination));
}

std::wstring columnLabel(const std::wstring& sTable, const std::wstring& sColumn)
{
    // The place for a mapping to display names; there are no entries.
    return sTable == L"asdf" || sColumn == L"asdf" ? L"" : sColumn;
}

} // namespace quinmark
