#pragma once

#include "QuinmarkRepDLL.h"
#include "com/object.h"

#include <comdef.h>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace com {

/// The classic collection: items in order, counted from 1, each with an optional text key (compared without case).
/// Errors: 9 for an index out of range, 5 for an unknown key or a bad position, 457 for a key that is taken.
class Collection final : public AutomationObject<_Collection>
{
public:
    void add(const _variant_t& item);
    long count() const { return static_cast<long>(items_.size()); }

    HRESULT STDMETHODCALLTYPE Item(VARIANT* index, VARIANT* value) noexcept override;
    HRESULT STDMETHODCALLTYPE Add(VARIANT* item, VARIANT* key, VARIANT* before, VARIANT* after) noexcept override;
    HRESULT STDMETHODCALLTYPE get_Count(long* value) noexcept override;
    HRESULT STDMETHODCALLTYPE Remove(VARIANT* index) noexcept override;
    HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** value) noexcept override;

private:
    struct Entry
    {
        _variant_t item;
        std::optional<std::wstring> key;
    };

    std::optional<size_t> findKey(const std::wstring& key) const;
    size_t position(const VARIANT& index) const;
    size_t insertPosition(const VARIANT* before, const VARIANT* after) const;

    std::vector<Entry> items_;
};

/// Hands every element of `collection` to `visit`, in order: of anything enumerable (DISPID_NEWENUM) or of an array.
/// Raises 91 for Nothing, 13 for a plain value, 438 for an object that cannot be enumerated, and whatever the
/// enumerator reports.
void forEach(const VARIANT& collection, const std::function<void(const _variant_t&)>& visit);

} // namespace com
