#pragma once

#include "QuinmarkRepDLL.h"
#include "com/object.h"
#include "conflicts/clsConflict.h"

namespace quinmark {

/// The COM face of clsConflict.
class ConflictFace final : public com::AutomationObject<_clsConflict>
{
public:
    explicit ConflictFace(clsConflict conflict) : conflict_(std::move(conflict)) {}

    HRESULT STDMETHODCALLTYPE loadFromRs(IDispatch** rs) noexcept override;
    HRESULT STDMETHODCALLTYPE save(VARIANT* result) noexcept override;
    HRESULT STDMETHODCALLTYPE edit(VARIANT_BOOL* result) noexcept override;
    HRESULT STDMETHODCALLTYPE resolve(VARIANT_BOOL* result) noexcept override;
    HRESULT STDMETHODCALLTYPE get_vConflictId(VARIANT* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_lPatientId(long* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_lPatientId(long* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_vGuid(VARIANT* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_vGuid(VARIANT* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_iConflictType(short* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_iConflictType(short* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_sKeyInfo(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_sKeyInfo(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_colData(IDispatch** value) noexcept override;
    HRESULT STDMETHODCALLTYPE putref_colData(IDispatch** value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_dSource(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_dSource(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_dDestination(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_dDestination(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_iResolutionType(short* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_iResolutionType(short* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_dNextReplicate(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_dNextReplicate(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_sTable(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_sTable(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_bExists(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_sErrorMessage(BSTR* value) noexcept override;

private:
    clsConflict conflict_;
};

} // namespace quinmark
