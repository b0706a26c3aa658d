#pragma once

#include "QuinmarkRepDLL.h"
#include "com/object.h"

#include <comdef.h>
#include <string>

/// Public objects that keep the arguments of their last call instead of doing anything. They are served from the type
/// library as the real ones are, so that a test sees what a late-bound call arrives as.
class RecordingFactory final : public com::AutomationObject<_Factory>
{
public:
    /// The last call, as "member(argument, argument)"; a left-out variant reads as "missing", an
    /// array as "array".
    std::wstring lastCall;
    /// Written over every by-reference text before the call returns, when set.
    const wchar_t* textLeftBehind = nullptr;
    /// Left as the error object, and returned, when it is a failure.
    HRESULT failure = S_OK;

    HRESULT STDMETHODCALLTYPE createReplication(_clsReplicate** result) noexcept override;
    HRESULT STDMETHODCALLTYPE createReplicationTable(enumReplicationMethod* iReplicationMethod, BSTR* sTable,
                                                     BSTR* sDependentTable, BSTR* sPKField,
                                                     enumReplicateDeletes* eReplicateDeletes,
                                                     _clsReplicateTable** result) noexcept override;
    HRESULT STDMETHODCALLTYPE createConflict(VARIANT* vConflictId, _clsConflict** result) noexcept override;
    HRESULT STDMETHODCALLTYPE init(enumReplicationUniqueId* iReplicationUniqueId, BSTR* sLocalConnection,
                                   BSTR* sSourceDB, BSTR* sSourceDSN, BSTR* sSourcePswd, BSTR* sDestinationDB,
                                   BSTR* sDestinationDSN, BSTR* sDestinationPswd, short* iLogLevel,
                                   BSTR* sLogFile) noexcept override;
    HRESULT STDMETHODCALLTYPE ensureReplication(VARIANT_BOOL* result) noexcept override;
    HRESULT STDMETHODCALLTYPE disconnect() noexcept override;
    HRESULT STDMETHODCALLTYPE setLogLevel(VARIANT* iLogLevel) noexcept override;
    HRESULT STDMETHODCALLTYPE connectDatabases(VARIANT_BOOL* bFlag) noexcept override;
    HRESULT STDMETHODCALLTYPE closeConnection() noexcept override;
    HRESULT STDMETHODCALLTYPE setError(VARIANT_BOOL* bError, BSTR* sErrorMsg) noexcept override;
    HRESULT STDMETHODCALLTYPE resetError() noexcept override;
    HRESULT STDMETHODCALLTYPE get_Version(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_sErrorMessage(VARIANT* value) noexcept override;

private:
    HRESULT record(std::wstring call) noexcept;
};

/// Keeps what is put into its properties and gives it back.
class RecordingConflict final : public com::AutomationObject<_clsConflict>
{
public:
    HRESULT STDMETHODCALLTYPE loadFromRs(IDispatch** rs) noexcept override;
    HRESULT STDMETHODCALLTYPE save(VARIANT* result) noexcept override;
    HRESULT STDMETHODCALLTYPE edit(VARIANT_BOOL* result) noexcept override;
    HRESULT STDMETHODCALLTYPE resolve(VARIANT_BOOL* result) noexcept override;
    HRESULT STDMETHODCALLTYPE get_vConflictId(VARIANT* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_lPatientId(long* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_lPatientId(long* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_vGuid(VARIANT* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_vGuid(VARIANT* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_iConflictType(short* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_iConflictType(short* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_sKeyInfo(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_sKeyInfo(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_colData(IDispatch** value) noexcept override;
    HRESULT STDMETHODCALLTYPE putref_colData(IDispatch** value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_dSource(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_dSource(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_dDestination(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_dDestination(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_iResolutionType(short* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_iResolutionType(short* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_dNextReplicate(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_dNextReplicate(DATE* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_sTable(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE put_sTable(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_bExists(BSTR* value) noexcept override;
    HRESULT STDMETHODCALLTYPE get_sErrorMessage(BSTR* value) noexcept override;

    /// The object that `loadFromRs` was given.
    Microsoft::WRL::ComPtr<IDispatch> recordset;

private:
    long patient_ = 0;
    _variant_t guid_;
    short type_ = 0;
    std::wstring keyInfo_;
    Microsoft::WRL::ComPtr<IDispatch> data_;
    DATE source_ = 0;
    DATE destination_ = 0;
    short resolution_ = 0;
    DATE next_ = 0;
    std::wstring table_;
};
