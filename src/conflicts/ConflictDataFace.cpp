#include "conflicts/ConflictDataFace.h"

#include "com/boundary.h"

namespace quinmark {

using com::comBoundary;
using com::requireText;

HRESULT ConflictDataFace::get_sField(BSTR* value) noexcept
{
    return comBoundary(value, [&] { return com::newBstr(data_.sField); });
}

HRESULT ConflictDataFace::put_sField(BSTR* value) noexcept
{
    return comBoundary([&] { data_.sField = requireText(value); });
}

HRESULT ConflictDataFace::get_sSourceData(BSTR* value) noexcept
{
    return comBoundary(value, [&] { return com::newBstr(data_.sSourceData); });
}

HRESULT ConflictDataFace::put_sSourceData(BSTR* value) noexcept
{
    return comBoundary([&] { data_.sSourceData = requireText(value); });
}

HRESULT ConflictDataFace::get_sDestinationData(BSTR* value) noexcept
{
    return comBoundary(value, [&] { return com::newBstr(data_.sDestinationData); });
}

HRESULT ConflictDataFace::put_sDestinationData(BSTR* value) noexcept
{
    return comBoundary([&] { data_.sDestinationData = requireText(value); });
}

} // namespace quinmark
