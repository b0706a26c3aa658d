#include "conflicts/ConflictFace.h"

#include "com/boundary.h"

namespace quinmark {

using com::comBoundary;
using com::requireIn;
using com::requireText;

HRESULT ConflictFace::loadFromRs(IDispatch** rs) noexcept
{
    return comBoundary([&] { conflict_.loadFromRs(ado::Recordset(com::Dispatch(requireIn(rs)))); });
}

HRESULT ConflictFace::save(VARIANT* result) noexcept
{
    return comBoundary(result, [&] { return conflict_.save().Detach(); });
}

HRESULT ConflictFace::edit(VARIANT_BOOL* result) noexcept
{
    return comBoundary(result, [&] { return com::toVariantBool(conflict_.edit()); });
}

HRESULT ConflictFace::resolve(VARIANT_BOOL* result) noexcept
{
    return comBoundary(result, [&] { return com::toVariantBool(conflict_.resolve()); });
}

HRESULT ConflictFace::get_vConflictId(VARIANT* value) noexcept
{
    return comBoundary(value, [&] { return _variant_t(conflict_.vConflictId()).Detach(); });
}

HRESULT ConflictFace::get_lPatientId(long* value) noexcept
{
    return comBoundary(value, [&] { return conflict_.lPatientId; });
}

HRESULT ConflictFace::put_lPatientId(long* value) noexcept
{
    return comBoundary([&] { conflict_.lPatientId = requireIn(value); });
}

HRESULT ConflictFace::get_vGuid(VARIANT* value) noexcept
{
    return comBoundary(value, [&] { return _variant_t(conflict_.vGuid).Detach(); });
}

HRESULT ConflictFace::put_vGuid(VARIANT* value) noexcept
{
    return comBoundary([&] { conflict_.vGuid = com::copyValue(requireIn(value)); });
}

HRESULT ConflictFace::get_iConflictType(short* value) noexcept
{
    return comBoundary(value, [&] { return com::toInt16(_variant_t(conflict_.iConflictType)); });
}

HRESULT ConflictFace::put_iConflictType(short* value) noexcept
{
    return comBoundary([&] { conflict_.iConflictType = requireIn(value); });
}

HRESULT ConflictFace::get_sKeyInfo(BSTR* value) noexcept
{
    return comBoundary(value, [&] { return com::newBstr(conflict_.sKeyInfo); });
}

HRESULT ConflictFace::put_sKeyInfo(BSTR* value) noexcept
{
    return comBoundary([&] { conflict_.sKeyInfo = requireText(value); });
}

HRESULT ConflictFace::get_colData(IDispatch** value) noexcept
{
    return comBoundary(value, [&] { return Microsoft::WRL::ComPtr<IDispatch>(conflict_.colData).Detach(); });
}

HRESULT ConflictFace::putref_colData(IDispatch** value) noexcept
{
    return comBoundary([&] { conflict_.colData = requireIn(value); });
}

HRESULT ConflictFace::get_dSource(DATE* value) noexcept
{
    return comBoundary(value, [&] { return conflict_.dSource; });
}

HRESULT ConflictFace::put_dSource(DATE* value) noexcept
{
    return comBoundary([&] { conflict_.dSource = requireIn(value); });
}

HRESULT ConflictFace::get_dDestination(DATE* value) noexcept
{
    return comBoundary(value, [&] { return conflict_.dDestination; });
}

HRESULT ConflictFace::put_dDestination(DATE* value) noexcept
{
    return comBoundary([&] { conflict_.dDestination = requireIn(value); });
}

HRESULT ConflictFace::get_iResolutionType(short* value) noexcept
{
    return comBoundary(value, [&] { return com::toInt16(_variant_t(conflict_.iResolutionType)); });
}

HRESULT ConflictFace::put_iResolutionType(short* value) noexcept
{
    return comBoundary([&] { conflict_.iResolutionType = requireIn(value); });
}

HRESULT ConflictFace::get_dNextReplicate(DATE* value) noexcept
{
    return comBoundary(value, [&] { return conflict_.dNextReplicate; });
}

HRESULT ConflictFace::put_dNextReplicate(DATE* value) noexcept
{
    return comBoundary([&] { conflict_.dNextReplicate = requireIn(value); });
}

HRESULT ConflictFace::get_sTable(BSTR* value) noexcept
{
    return comBoundary(value, [&] { return com::newBstr(conflict_.sTable); });
}

HRESULT ConflictFace::put_sTable(BSTR* value) noexcept
{
    return comBoundary([&] { conflict_.sTable = requireText(value); });
}

HRESULT ConflictFace::get_bExists(BSTR* value) noexcept
{
    return comBoundary(value, [&] { return com::newBstr(conflict_.bExists()); });
}

HRESULT ConflictFace::get_sErrorMessage(BSTR* value) noexcept
{
    return comBoundary(value, [&] { return com::newBstr(conflict_.sErrorMessage()); });
}

} // namespace quinmark
