#pragma once

#include "QuinmarkRepDLL.h"
#include "com/object.h"
#include "replication/clsReplicateTable.h"

#include <memory>

namespace quinmark {

/// The COM face of clsReplicateTable.
class ReplicateTableFace final : public com::AutomationObject<_clsReplicateTable>
{
public:
    explicit ReplicateTableFace(std::unique_ptr<clsReplicateTable> table) : table_(std::move(table)) {}

    HRESULT STDMETHODCALLTYPE init(enumReplicationMethod* iReplicationMethod, BSTR* sTable, BSTR* sDependentTable,
                                   BSTR* sPKField, enumReplicateDeletes* eReplicateDeletes) noexcept override;
    HRESULT STDMETHODCALLTYPE go(DATE* dLastReplicate, DATE* dNextReplicate, VARIANT* result) noexcept override;
    HRESULT STDMETHODCALLTYPE replicateOneWayDeleteAll() noexcept override;
    HRESULT STDMETHODCALLTYPE replicateComputerType() noexcept override;
    HRESULT STDMETHODCALLTYPE replicateTableTwoWay(VARIANT_BOOL* bDeletes) noexcept override;
    HRESULT STDMETHODCALLTYPE replicateOneWay(VARIANT_BOOL* bAllowDeletes) noexcept override;
    HRESULT STDMETHODCALLTYPE replicateOneWayWithPKField() noexcept override;
    HRESULT STDMETHODCALLTYPE get_sTable(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_lCntSourceAdd(long* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_lCntSourceUpdate(long* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_lCntSourceDelete(long* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_lCntDestAdd(long* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_lCntDestUpdate(long* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_lCntDestDelete(long* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_lCntConflict(long* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_lCntError(long* value) noexcept override;

private:
    HRESULT readCounter(long Counters::*counter, long* value) noexcept;

    std::unique_ptr<clsReplicateTable> table_;
};

} // namespace quinmark
