#include "conflicts/clsConflict.h"

#include "ado/constants.h"
#include "com/convert.h"
#include "com/dispatch.h"
#include "com/enumerate.h"
#include "com/error.h"
#include "control/RaiseError.h"
#include "control/pairing.h"
#include "control/settings.h"

using namespace quinmark;
using Microsoft::WRL::ComPtr;

namespace {

/// 1 January 1900 counts as no date; the zero date of a new conflict does not.
constexpr DATE kNoDate = 2;

_variant_t readText(_clsConflictData& data, HRESULT (STDMETHODCALLTYPE _clsConflictData::*property)(BSTR*))
{
    _variant_t text;
    BSTR value = nullptr;
    com::checkCall((data.*property)(&value));
    text.bstrVal = value;
    text.vt = VT_BSTR;
    return text;
}

} // namespace

void clsConflict::loadFromRs(const ado::Recordset& rs)
try {
    bExists_ = true;
    vConflictId_ = rs.value(L"unid");
    dNextReplicate = com::toDate(rs.value(L"last_replicate_date"));
    sTable = com::toText(rs.value(L"table_name"));
    lPatientId = com::toInt32(rs.value(L"patient_id"));
    vGuid = com::textVariant(com::concatText(rs.value(L"guid")));
    iConflictType = com::toInt32(com::textVariant(com::concatText(rs.value(L"conflict_type"))));
    sKeyInfo = com::concatText(rs.value(L"key_info"));
    dSource = com::toDate(com::textVariant(com::concatText(rs.value(L"source_mod_date"))));
    dDestination = com::toDate(com::textVariant(com::concatText(rs.value(L"destination_mod_date"))));
}
catch (...) {
    Common::reraise(L"clsConflict.loadFromRs");
}

bool clsConflict::edit()
try {
    std::wstring reasons;
    if (dNextReplicate == kNoDate)
        reasons += L"Next replicate date not supplied.\r\n";
    if (com::trim(sTable).empty())
        reasons += L"Table name not supplied\r\n";
    if (lPatientId < 1 && (vGuid.vt == VT_EMPTY || com::trim(com::toText(vGuid)).empty()))
        reasons += L"Patiend id or table guid not supplied\r\n";
    if (iConflictType == 0)
        reasons += L"Conflict type not supplied\r\n";
    if (reasons.empty())
        return true;
    sErrorMessage_ = reasons;
    return false;
}
catch (...) {
    Common::reraise(L"clsConflict.edit");
}

_variant_t clsConflict::save()
try {
    if (!edit())
        return _variant_t(static_cast<short>(-1));
    if (bExists_)
        Common::RaiseError(L"clsConflict.save", Common::kOwnError, L"Method to update conflicts not implemented");
    insertHeader();
    com::forEach(_variant_t(colData.Get()), [this](const _variant_t& item) { insertData(item); });
    bExists_ = true;
    return vConflictId_;
}
catch (...) {
    Common::reraise(L"clsConflict.save");
}

void clsConflict::insertHeader()
{
    using namespace ado;
    const std::shared_ptr<clsConn> conn = Utils::getConnLocal();
    conn->Parameters(0, adGUID, adParamOutput, L"", 0L);
    conn->Parameters(1, adSmallInt, adParamInput, settings().iReplicationUniqueId, 0L);
    conn->Parameters(2, adDBTimeStamp, adParamInput, _variant_t(dNextReplicate, VT_DATE), 0L);
    conn->Parameters(3, adVarChar, adParamInput, com::textVariant(sTable), kTableSize);
    conn->Parameters(4, adInteger, adParamInput, lPatientId, 0L);
    conn->Parameters(5, adGUID, adParamInput, vGuid, 0L);
    conn->Parameters(6, adSmallInt, adParamInput, iConflictType, 0L);
    conn->Parameters(7, adVarChar, adParamInput, com::textVariant(sKeyInfo), kKeyInfoSize);
    conn->Parameters(8, adDBTimeStamp, adParamInput, _variant_t(dSource, VT_DATE), 0L);
    conn->Parameters(9, adDBTimeStamp, adParamInput, _variant_t(dDestination, VT_DATE), 0L);
    vConflictId_ = com::textVariant(conn->executeSPReturn(L"InsertReplicationConflict"));
}

void clsConflict::insertData(const _variant_t& item) const
{
    using namespace ado;
    const ComPtr<_clsConflictData> data = com::objectOf<_clsConflictData>(item);
    const std::shared_ptr<clsConn> conn = Utils::getConnLocal();
    conn->Parameters(0, adGUID, adParamInput, vConflictId_, 0L);
    conn->Parameters(1, adVarChar, adParamInput, readText(*data.Get(), &_clsConflictData::get_sField), kFieldSize);
    conn->Parameters(2, adVarChar, adParamInput, readText(*data.Get(), &_clsConflictData::get_sSourceData), kDataSize);
    conn->Parameters(3, adVarChar, adParamInput, readText(*data.Get(), &_clsConflictData::get_sDestinationData),
                     kDataSize);
    conn->executeSP(L"InsertReplicationConflictData");
}

std::wstring clsConflict::bExists() const
{
    return com::toText(_variant_t(bExists_));
}
