#pragma once

#include "QuinmarkRepDLL.h"
#include "com/object.h"
#include "conflicts/clsConflictData.h"

namespace quinmark {

/// The COM face of clsConflictData.
class ConflictDataFace final : public com::AutomationObject<_clsConflictData>
{
public:
    explicit ConflictDataFace(clsConflictData data) : data_(std::move(data)) {}

    HRESULT STDMETHODCALLTYPE get_sField(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_sField(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_sSourceData(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_sSourceData(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_sDestinationData(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_sDestinationData(BSTR* value) noexcept override;

private:
    clsConflictData data_;
};

} // namespace quinmark
