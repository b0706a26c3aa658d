#include "collection_index.h"

#include "ado_error.h"
#include "com/convert.h"

namespace adodb {

namespace {

bool sameName(const std::wstring& left, const std::wstring& right)
{
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

size_t checkedPosition(long position, size_t count, const wchar_t* source)
{
    if (position < 0 || static_cast<size_t>(position) >= count)
        raiseAdoError(kItemNotFound, source);
    return static_cast<size_t>(position);
}

} // namespace

size_t positionOfItem(const VARIANT& index, size_t count, const std::function<std::wstring(size_t)>& nameAt,
                      const wchar_t* source)
{
    if (V_VT(&index) == VT_I4) // which needs no conversion
        return checkedPosition(V_I4(&index), count, source);
    const _variant_t direct = com::copyValue(index);
    if (V_VT(&direct) != VT_BSTR)
        return checkedPosition(com::toInt32(direct), count, source);
    const std::wstring name = com::toText(direct);
    for (size_t position = 0; position < count; ++position)
        if (sameName(nameAt(position), name))
            return position;
    raiseAdoError(kItemNotFound, source);
}

} // namespace adodb
