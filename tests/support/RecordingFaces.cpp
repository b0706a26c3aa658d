#include "RecordingFaces.h"

#include "com/boundary.h"
#include "com/convert.h"

using com::comBoundary;
using com::requireIn;
using com::requireOut;

namespace {

std::wstring text(VARIANT* value)
{
    if (value->vt & VT_ARRAY)
        return L"array";
    return com::isMissing(*value) ? L"missing" : com::concatText(*value);
}

std::wstring text(BSTR* value)
{
    return com::fromBstr(*value);
}

std::wstring text(VARIANT_BOOL* value)
{
    return *value ? L"true" : L"false";
}

std::wstring number(long value)
{
    return std::to_wstring(value);
}

void replace(BSTR* variable, const std::wstring& with)
{
    SysFreeString(*variable);
    *variable = com::newBstr(with);
}

} // namespace

HRESULT RecordingFactory::record(std::wstring call) noexcept
{
    lastCall = std::move(call);
    return comBoundary([&] {
        if (FAILED(failure))
            throw com::Error{failure, L"Recording.source", L"Recorded failure"};
    });
}

HRESULT RecordingFactory::createReplication(_clsReplicate** result) noexcept
{
    *result = nullptr;
    return record(L"createReplication()");
}

HRESULT RecordingFactory::createReplicationTable(enumReplicationMethod* iReplicationMethod, BSTR* sTable,
                                                 BSTR* sDependentTable, BSTR* sPKField,
                                                 enumReplicateDeletes* eReplicateDeletes,
                                                 _clsReplicateTable** result) noexcept
{
    *result = nullptr;
    const HRESULT code =
        record(L"createReplicationTable(" + number(*iReplicationMethod) + L", " + text(sTable) + L", " +
               text(sDependentTable) + L", " + text(sPKField) + L", " + number(*eReplicateDeletes) + L")");
    if (textLeftBehind)
        replace(sTable, textLeftBehind);
    return code;
}

HRESULT RecordingFactory::createConflict(VARIANT* vConflictId, _clsConflict** result) noexcept
{
    *result = nullptr;
    return record(L"createConflict(" + text(vConflictId) + L")");
}

HRESULT RecordingFactory::init(enumReplicationUniqueId* iReplicationUniqueId, BSTR* sLocalConnection, BSTR* sSourceDB,
                               BSTR* sSourceDSN, BSTR* sSourcePswd, BSTR* sDestinationDB, BSTR* sDestinationDSN,
                               BSTR* sDestinationPswd, short* iLogLevel, BSTR* sLogFile) noexcept
{
    std::wstring call = L"init(" + number(*iReplicationUniqueId);
    for (BSTR* argument :
         {sLocalConnection, sSourceDB, sSourceDSN, sSourcePswd, sDestinationDB, sDestinationDSN, sDestinationPswd})
        call += L", " + text(argument);
    return record(call + L", " + number(*iLogLevel) + L", " + text(sLogFile) + L")");
}

HRESULT RecordingFactory::ensureReplication(VARIANT_BOOL* result) noexcept
{
    *result = VARIANT_TRUE;
    return record(L"ensureReplication()");
}

HRESULT RecordingFactory::disconnect() noexcept
{
    return record(L"disconnect()");
}

HRESULT RecordingFactory::setLogLevel(VARIANT* iLogLevel) noexcept
{
    return record(L"setLogLevel(" + text(iLogLevel) + L")");
}

HRESULT RecordingFactory::connectDatabases(VARIANT_BOOL* bFlag) noexcept
{
    return record(L"connectDatabases(" + text(bFlag) + L")");
}

HRESULT RecordingFactory::closeConnection() noexcept
{
    return record(L"closeConnection()");
}

HRESULT RecordingFactory::setError(VARIANT_BOOL* bError, BSTR* sErrorMsg) noexcept
{
    const HRESULT code = record(L"setError(" + text(bError) + L", " + text(sErrorMsg) + L")");
    if (textLeftBehind) {
        *bError = *bError ? VARIANT_FALSE : VARIANT_TRUE;
        replace(sErrorMsg, textLeftBehind);
    }
    return code;
}

HRESULT RecordingFactory::resetError() noexcept
{
    return record(L"resetError()");
}

HRESULT RecordingFactory::get_Version(BSTR* value) noexcept
{
    *value = com::newBstr(L"recorded");
    return record(L"Version");
}

HRESULT RecordingFactory::get_sErrorMessage(VARIANT* value) noexcept
{
    *value = com::textVariant(L"recorded").Detach();
    return record(L"sErrorMessage");
}

HRESULT RecordingConflict::loadFromRs(IDispatch** rs) noexcept
{
    recordset = *rs;
    return S_OK;
}

HRESULT RecordingConflict::save(VARIANT* result) noexcept
{
    return comBoundary([&] { requireOut(result) = _variant_t(static_cast<short>(-1)).Detach(); });
}

HRESULT RecordingConflict::edit(VARIANT_BOOL* result) noexcept
{
    return comBoundary([&] { requireOut(result) = VARIANT_TRUE; });
}

HRESULT RecordingConflict::resolve(VARIANT_BOOL* result) noexcept
{
    return comBoundary([&] { requireOut(result) = VARIANT_FALSE; });
}

HRESULT RecordingConflict::get_vConflictId(VARIANT* value) noexcept
{
    return comBoundary([&] { requireOut(value) = com::textVariant(L"id").Detach(); });
}

HRESULT RecordingConflict::get_lPatientId(long* value) noexcept
{
    return comBoundary([&] { requireOut(value) = patient_; });
}

HRESULT RecordingConflict::put_lPatientId(long* value) noexcept
{
    return comBoundary([&] { patient_ = requireIn(value); });
}

HRESULT RecordingConflict::get_vGuid(VARIANT* value) noexcept
{
    return comBoundary([&] { requireOut(value) = _variant_t(guid_).Detach(); });
}

HRESULT RecordingConflict::put_vGuid(VARIANT* value) noexcept
{
    return comBoundary([&] { guid_ = requireIn(value); });
}

HRESULT RecordingConflict::get_iConflictType(short* value) noexcept
{
    return comBoundary([&] { requireOut(value) = type_; });
}

HRESULT RecordingConflict::put_iConflictType(short* value) noexcept
{
    return comBoundary([&] { type_ = requireIn(value); });
}

HRESULT RecordingConflict::get_sKeyInfo(BSTR* value) noexcept
{
    return comBoundary([&] { requireOut(value) = com::newBstr(keyInfo_); });
}

HRESULT RecordingConflict::put_sKeyInfo(BSTR* value) noexcept
{
    return comBoundary([&] { keyInfo_ = com::requireText(value); });
}

HRESULT RecordingConflict::get_colData(IDispatch** value) noexcept
{
    return comBoundary([&] {
        requireOut(value);
        data_.CopyTo(value);
    });
}

HRESULT RecordingConflict::putref_colData(IDispatch** value) noexcept
{
    return comBoundary([&] { data_ = requireIn(value); });
}

HRESULT RecordingConflict::get_dSource(DATE* value) noexcept
{
    return comBoundary([&] { requireOut(value) = source_; });
}

HRESULT RecordingConflict::put_dSource(DATE* value) noexcept
{
    return comBoundary([&] { source_ = requireIn(value); });
}

HRESULT RecordingConflict::get_dDestination(DATE* value) noexcept
{
    return comBoundary([&] { requireOut(value) = destination_; });
}

HRESULT RecordingConflict::put_dDestination(DATE* value) noexcept
{
    return comBoundary([&] { destination_ = requireIn(value); });
}

HRESULT RecordingConflict::get_iResolutionType(short* value) noexcept
{
    return comBoundary([&] { requireOut(value) = resolution_; });
}

HRESULT RecordingConflict::put_iResolutionType(short* value) noexcept
{
    return comBoundary([&] { resolution_ = requireIn(value); });
}

HRESULT RecordingConflict::get_dNextReplicate(DATE* value) noexcept
{
    return comBoundary([&] { requireOut(value) = next_; });
}

HRESULT RecordingConflict::put_dNextReplicate(DATE* value) noexcept
{
    return comBoundary([&] { next_ = requireIn(value); });
}

HRESULT RecordingConflict::get_sTable(BSTR* value) noexcept
{
    return comBoundary([&] { requireOut(value) = com::newBstr(table_); });
}

HRESULT RecordingConflict::put_sTable(BSTR* value) noexcept
{
    return comBoundary([&] { table_ = com::requireText(value); });
}

HRESULT RecordingConflict::get_bExists(BSTR* value) noexcept
{
    return comBoundary([&] { requireOut(value) = com::newBstr(L"False"); });
}

HRESULT RecordingConflict::get_sErrorMessage(BSTR* value) noexcept
{
    return comBoundary([&] { requireOut(value) = com::newBstr(L""); });
}
