#include "ado/constants.h"
#include "com/convert.h"
#include "db/clsConn.h"

#include <cmath>

namespace {

_variant_t nullVariant()
{
    _variant_t null;
    null.vt = VT_NULL;
    return null;
}

constexpr DATE kFirstOfJanuary1900 = 2;

bool isEmptyText(const _variant_t& vValue)
{
    return vValue.vt != VT_NULL && com::toText(vValue).empty();
}

/// Whether a value counts as no time stamp: 1 January 1900, whatever its time, or the zero date. Raises 94 for Null.
bool isUnsetTimeStamp(const _variant_t& vValue)
{
    const DATE date = com::toDate(vValue);
    const DATE day = std::trunc(com::toDate(com::textVariant(com::dateText(date))));
    return day == kFirstOfJanuary1900 || date == 0;
}

} // namespace

void clsConn::Parameters(short iIndex, short iType, short iDirection, const _variant_t& vValue, const _variant_t& vSize,
                         short iScale)
{
    if (iIndex == 0)
        resetParms();
    if (iIndex < 0 || static_cast<size_t>(iIndex) >= aParms.size())
        com::raiseRuntimeError(com::kSubscriptOutOfRange);
    Parm& parm = aParms[static_cast<size_t>(iIndex)];
    parm.iType = iType;
    parm.iDirection = iDirection;
    const bool sendNull = isEmptyText(vValue) || (iType == ado::adDBTimeStamp && isUnsetTimeStamp(vValue));
    parm.vValue = sendNull ? nullVariant() : vValue;
    parm.iSize = com::toInt16(vSize);
    if (iScale > 0)
        parm.iScale = iScale;
}

void clsConn::resetParms()
{
    aParms.fill(Parm());
}

short clsConn::getParmCount() const
{
    for (size_t index = 0; index < aParms.size(); ++index)
        if (aParms[index].iType == 0)
            return static_cast<short>(index - 1);
    // A full table binds its first parameter only.
    return 0;
}

_variant_t clsConn::addGuidBrackets(const _variant_t& vValue) const
{
    const std::wstring text = com::toText(vValue);
    if (text.empty())
        return {};
    return text.front() == L'{' ? vValue : com::textVariant(L"{" + text + L"}");
}
