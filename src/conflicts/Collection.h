#pragma once

#include "QuinmarkRepDLL.h"
#include "com/object.h"

#include <comdef.h>
#include <vector>

namespace quinmark {

/// Items in order, counted from 1; the form in which a conflict's differing columns stand in its colData. An index out
/// of range raises 9, one that is no number 13.
class Collection final : public com::AutomationObject<_Collection>
{
public:
    void add(const _variant_t& item) { items_.push_back(item); }

    HRESULT STDMETHODCALLTYPE Item(VARIANT* index, VARIANT* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_Count(long* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** value) noexcept override;

private:
    std::vector<_variant_t> items_;
};

} // namespace quinmark
