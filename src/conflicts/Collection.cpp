#include "conflicts/Collection.h"

#include "com/boundary.h"
#include "com/convert.h"
#include "com/enumerate.h"

namespace quinmark {

using com::comBoundary;

HRESULT Collection::Item(VARIANT* index, VARIANT* value) noexcept
{
    return comBoundary([&] {
        com::requireOut(value);
        const long number = com::toInt32(com::requireIn(index));
        if (number < 1 || static_cast<size_t>(number) > items_.size())
            com::raiseRuntimeError(com::kSubscriptOutOfRange);
        *value = _variant_t(items_[static_cast<size_t>(number - 1)]).Detach();
    });
}

HRESULT Collection::get_Count(long* value) noexcept
{
    return comBoundary(value, [&] { return static_cast<long>(items_.size()); });
}

HRESULT Collection::get__NewEnum(IUnknown** value) noexcept
{
    return comBoundary(value, [&]() -> IUnknown* { return com::enumeratorOf(items_).Detach(); });
}

} // namespace quinmark
