#include "replication/ReplicateTableFace.h"

#include "com/boundary.h"

namespace quinmark {

using com::comBoundary;
using com::requireBool;
using com::requireIn;
using com::requireOut;
using com::requireText;

HRESULT ReplicateTableFace::init(enumReplicationMethod* iReplicationMethod, BSTR* sTable, BSTR* sDependentTable,
                                 BSTR* sPKField, enumReplicateDeletes* eReplicateDeletes) noexcept
{
    return comBoundary([&] {
        table_->init(requireIn(iReplicationMethod), requireText(sTable), requireText(sDependentTable),
                     requireText(sPKField), requireIn(eReplicateDeletes));
    });
}

HRESULT ReplicateTableFace::go(DATE* dLastReplicate, DATE* dNextReplicate, VARIANT* result) noexcept
{
    return comBoundary([&] {
        requireOut(result);
        table_->go(requireIn(dLastReplicate), requireIn(dNextReplicate), *this);
    });
}

HRESULT ReplicateTableFace::replicateOneWayDeleteAll() noexcept
{
    return comBoundary([&] { table_->replicateOneWayDeleteAll(); });
}

HRESULT ReplicateTableFace::replicateComputerType() noexcept
{
    return comBoundary([&] { table_->replicateComputerType(); });
}

HRESULT ReplicateTableFace::replicateTableTwoWay(VARIANT_BOOL* bDeletes) noexcept
{
    return comBoundary([&] { table_->replicateTableTwoWay(requireBool(bDeletes)); });
}

HRESULT ReplicateTableFace::replicateOneWay(VARIANT_BOOL* bAllowDeletes) noexcept
{
    return comBoundary([&] { table_->replicateOneWay(requireBool(bAllowDeletes)); });
}

HRESULT ReplicateTableFace::replicateOneWayWithPKField() noexcept
{
    return comBoundary([&] { table_->replicateOneWayWithPKField(); });
}

HRESULT ReplicateTableFace::get_sTable(BSTR* value) noexcept
{
    return comBoundary(value, [&] { return com::newBstr(table_->sTable()); });
}

HRESULT ReplicateTableFace::get_lCntSourceAdd(long* value) noexcept
{
    return readCounter(&Counters::lCntSourceAdd, value);
}

HRESULT ReplicateTableFace::get_lCntSourceUpdate(long* value) noexcept
{
    return readCounter(&Counters::lCntSourceUpdate, value);
}

HRESULT ReplicateTableFace::get_lCntSourceDelete(long* value) noexcept
{
    return readCounter(&Counters::lCntSourceDelete, value);
}

HRESULT ReplicateTableFace::get_lCntDestAdd(long* value) noexcept
{
    return readCounter(&Counters::lCntDestAdd, value);
}

HRESULT ReplicateTableFace::get_lCntDestUpdate(long* value) noexcept
{
    return readCounter(&Counters::lCntDestUpdate, value);
}

HRESULT ReplicateTableFace::get_lCntDestDelete(long* value) noexcept
{
    return readCounter(&Counters::lCntDestDelete, value);
}

HRESULT ReplicateTableFace::get_lCntConflict(long* value) noexcept
{
    return readCounter(&Counters::lCntConflict, value);
}

HRESULT ReplicateTableFace::get_lCntError(long* value) noexcept
{
    return readCounter(&Counters::lCntError, value);
}

HRESULT ReplicateTableFace::readCounter(long Counters::*counter, long* value) noexcept
{
    return comBoundary(value, [&] { return table_->counters().*counter; });
}

} // namespace quinmark
