#pragma once

#include "QuinmarkRepDLL.h"
#include "com/object.h"
#include "control/clsReplicate.h"

namespace quinmark {

/// The COM face of clsReplicate.
class ReplicateFace final : public com::AutomationObject<_clsReplicate>
{
public:
    HRESULT STDMETHODCALLTYPE SetReady() noexcept override;
    HRESULT STDMETHODCALLTYPE initNextRun(short* iFreq, BSTR* sPgmVersion) noexcept override;
    HRESULT STDMETHODCALLTYPE go(VARIANT* col) noexcept override;
    HRESULT STDMETHODCALLTYPE get_bError(VARIANT_BOOL* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_bReady(VARIANT_BOOL* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_dLastReplicate(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_dNextReplicate(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_sErrorMessage(BSTR* value) noexcept override;

private:
    clsReplicate replicate_;
};

} // namespace quinmark
