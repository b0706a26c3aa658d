#include "control/ReplicateFace.h"

#include "com/boundary.h"

namespace quinmark {

using com::comBoundary;
using com::requireIn;
using com::requireText;

HRESULT ReplicateFace::SetReady() noexcept
{
    return comBoundary([&] { replicate_.SetReady(); });
}

HRESULT ReplicateFace::initNextRun(short* iFreq, BSTR* sPgmVersion) noexcept
{
    return comBoundary([&] { replicate_.initNextRun(requireIn(iFreq), requireText(sPgmVersion)); });
}

HRESULT ReplicateFace::go(VARIANT* col) noexcept
{
    return comBoundary([&] { replicate_.go(requireIn(col)); });
}

HRESULT ReplicateFace::get_bError(VARIANT_BOOL* value) noexcept
{
    return comBoundary(value, [&] { return com::toVariantBool(replicate_.bError()); });
}

HRESULT ReplicateFace::get_bReady(VARIANT_BOOL* value) noexcept
{
    return comBoundary(value, [&] { return com::toVariantBool(replicate_.bReady()); });
}

HRESULT ReplicateFace::get_dLastReplicate(DATE* value) noexcept
{
    return comBoundary(value, [&] { return replicate_.dLastReplicate(); });
}

HRESULT ReplicateFace::get_dNextReplicate(DATE* value) noexcept
{
    return comBoundary(value, [&] { return replicate_.dNextReplicate(); });
}

HRESULT ReplicateFace::get_sErrorMessage(BSTR* value) noexcept
{
    return comBoundary(value, [&] { return com::newBstr(replicate_.sErrorMessage()); });
}

} // namespace quinmark
