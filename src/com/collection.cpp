#include "com/collection.h"

#include "com/boundary.h"
#include "com/convert.h"

namespace com {
namespace {

/// A walk over the items as they were when it began.
class ItemEnumerator final : public UnknownObject<IEnumVARIANT>
{
public:
    ItemEnumerator(std::vector<_variant_t> items, size_t next) : items_(std::move(items)), next_(next) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* values, ULONG* fetched) noexcept override
    {
        if (!values || (!fetched && count != 1))
            return E_POINTER;
        ULONG done = 0;
        for (; done < count && next_ < items_.size(); ++done, ++next_) {
            VariantInit(&values[done]);
            if (const HRESULT copied = VariantCopy(&values[done], &items_[next_]); FAILED(copied))
                return copied;
        }
        if (fetched)
            *fetched = done;
        return done == count ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE Skip(ULONG count) noexcept override
    {
        const size_t left = items_.size() - next_;
        next_ += count < left ? count : left;
        return count <= left ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE Reset() noexcept override
    {
        next_ = 0;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** clone) noexcept override
    {
        return comBoundary(clone, [&] { return makeObject<ItemEnumerator>(items_, next_).Detach(); });
    }

private:
    std::vector<_variant_t> items_;
    size_t next_;
};

bool given(const VARIANT* argument)
{
    return argument && !isMissing(*argument);
}

std::wstring keyText(const VARIANT& key)
{
    const _variant_t direct = copyValue(key);
    if (direct.vt != VT_BSTR)
        raiseRuntimeError(kTypeMismatch);
    return fromBstr(direct.bstrVal);
}

bool equalKeys(const std::wstring& left, const std::wstring& right)
{
    return CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, left.data(), static_cast<int>(left.size()),
                          right.data(), static_cast<int>(right.size())) == CSTR_EQUAL;
}

} // namespace

void Collection::add(const _variant_t& item)
{
    items_.push_back({item, std::nullopt});
}

std::optional<size_t> Collection::findKey(const std::wstring& key) const
{
    for (size_t index = 0; index < items_.size(); ++index)
        if (items_[index].key && equalKeys(*items_[index].key, key))
            return index;
    return std::nullopt;
}

size_t Collection::position(const VARIANT& index) const
{
    const _variant_t direct = copyValue(index);
    if (direct.vt == VT_BSTR) {
        if (const auto found = findKey(fromBstr(direct.bstrVal)))
            return *found;
        raiseRuntimeError(kInvalidCall);
    }
    const long number = toInt32(direct);
    if (number < 1 || number > count())
        raiseRuntimeError(kSubscriptOutOfRange);
    return static_cast<size_t>(number - 1);
}

size_t Collection::insertPosition(const VARIANT* before, const VARIANT* after) const
{
    if (given(before) && given(after))
        raiseRuntimeError(kInvalidCall);
    if (given(before))
        return position(*before);
    return given(after) ? position(*after) + 1 : items_.size();
}

HRESULT Collection::Item(VARIANT* index, VARIANT* value) noexcept
{
    return comBoundary([&] {
        requireOut(value);
        _variant_t copy = items_[position(requireIn(index))].item;
        *value = copy.Detach();
    });
}

HRESULT Collection::Add(VARIANT* item, VARIANT* key, VARIANT* before, VARIANT* after) noexcept
{
    return comBoundary([&] {
        Entry entry;
        check(VariantCopyInd(&entry.item, &requireIn(item)));
        if (given(key))
            entry.key = keyText(*key);
        if (entry.key && findKey(*entry.key))
            raiseRuntimeError(kDuplicateKey);
        const auto place = items_.begin() + static_cast<std::ptrdiff_t>(insertPosition(before, after));
        items_.insert(place, std::move(entry));
    });
}

HRESULT Collection::get_Count(long* value) noexcept
{
    return comBoundary(value, [&] { return count(); });
}

HRESULT Collection::Remove(VARIANT* index) noexcept
{
    return comBoundary([&] { items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(position(requireIn(index)))); });
}

HRESULT Collection::get__NewEnum(IUnknown** value) noexcept
{
    return comBoundary([&] {
        requireOut(value);
        std::vector<_variant_t> items;
        items.reserve(items_.size());
        for (const Entry& entry : items_)
            items.push_back(entry.item);
        *value = makeObject<ItemEnumerator>(std::move(items), size_t{0}).Detach();
    });
}

} // namespace com
