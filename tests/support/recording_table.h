#pragma once

#include "QuinmarkRepDLL.h"
#include "com/boundary.h"
#include "com/object.h"

#include <functional>
#include <vector>

/// A table object that keeps which of its members were called, and does what the test lays down.
class RecordingTable final : public com::AutomationObject<_clsReplicateTable>
{
public:
    std::vector<std::wstring> calls;
    /// Runs within `go`, on the caller's own dates; what it throws is the failure of `go`.
    std::function<void(DATE& last, DATE& next)> whenRun;
    /// Thrown by every replication routine when set.
    std::function<void()> failure;

    HRESULT STDMETHODCALLTYPE init(enumReplicationMethod*, BSTR*, BSTR*, BSTR*, enumReplicateDeletes*) noexcept override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE go(DATE* last, DATE* next, VARIANT* result) noexcept override
    {
        return com::comBoundary([&] {
            VariantInit(result);
            calls.push_back(L"go(" + com::dateText(*last) + L", " + com::dateText(*next) + L")");
            if (whenRun)
                whenRun(*last, *next);
        });
    }
    HRESULT STDMETHODCALLTYPE replicateOneWayDeleteAll() noexcept override { return run(L"replicateOneWayDeleteAll"); }
    HRESULT STDMETHODCALLTYPE replicateComputerType() noexcept override { return run(L"replicateComputerType"); }
    HRESULT STDMETHODCALLTYPE replicateTableTwoWay(VARIANT_BOOL* deletes) noexcept override
    {
        return run(*deletes ? L"replicateTableTwoWay(True)" : L"replicateTableTwoWay(False)");
    }
    HRESULT STDMETHODCALLTYPE replicateOneWay(VARIANT_BOOL* allowDeletes) noexcept override
    {
        return run(*allowDeletes ? L"replicateOneWay(True)" : L"replicateOneWay(False)");
    }
    HRESULT STDMETHODCALLTYPE replicateOneWayWithPKField() noexcept override
    {
        return run(L"replicateOneWayWithPKField");
    }
    HRESULT STDMETHODCALLTYPE get_sTable(BSTR*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntSourceAdd(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntSourceUpdate(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntSourceDelete(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntDestAdd(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntDestUpdate(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntDestDelete(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntConflict(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntError(long*) noexcept override { return E_NOTIMPL; }

private:
    HRESULT run(const wchar_t* routine) noexcept
    {
        return com::comBoundary([&] {
            calls.emplace_back(routine);
            if (failure)
                failure();
        });
    }
};
