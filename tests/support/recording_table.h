#pragma once

#include "QuinmarkRepDLL.h"
#include "com/boundary.h"
#include "com/object.h"

#include <functional>
#include <vector>

/// A table object that keeps which of its members were called, and does what the test lays down. It is served from the
/// type library as the real one is, so that a test sees what a late-bound call arrives as.
class RecordingTable final : public com::AutomationObject<_clsReplicateTable>
{
public:
    std::vector<std::wstring> calls;
    /// Runs within `go`, on the caller's own dates; what it throws is the failure of `go`.
    std::function<void(DATE& last, DATE& next)> whenRun;
    /// Thrown by `init` and every replication routine when set.
    std::function<void()> failure;
    /// Whether `init` leaves the method 7 and the table "left" in its arguments.
    bool writesArguments = false;

    HRESULT STDMETHODCALLTYPE init(enumReplicationMethod* method, BSTR* table, BSTR* dependent, BSTR* key,
                                   enumReplicateDeletes* deletes) noexcept override
    {
        const HRESULT result =
            run(L"init(" + std::to_wstring(*method) + L", " + com::fromBstr(*table) + L", " +
                com::fromBstr(*dependent) + L", " + com::fromBstr(*key) + L", " + std::to_wstring(*deletes) + L")");
        if (writesArguments) {
            *method = ONE_WAY_WITH_PK_FIELD;
            SysReAllocString(table, L"left");
        }
        return result;
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
    HRESULT STDMETHODCALLTYPE get_sTable(BSTR* value) noexcept override
    {
        *value = SysAllocString(L"recorded");
        return run(L"sTable");
    }
    HRESULT STDMETHODCALLTYPE get_lCntSourceAdd(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntSourceUpdate(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntSourceDelete(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntDestAdd(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntDestUpdate(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntDestDelete(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntConflict(long*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_lCntError(long*) noexcept override { return E_NOTIMPL; }

private:
    HRESULT run(const std::wstring& call) noexcept
    {
        return com::comBoundary([&] {
            calls.push_back(call);
            if (failure)
                failure();
        });
    }
};
