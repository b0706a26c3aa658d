#pragma once

#include "QuinmarkRepDLL.h"
#include "com/object.h"
#include "control/Factory.h"

namespace quinmark {

/// The COM face of Factory.
class FactoryFace final : public com::AutomationObject<_Factory>
{
public:
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
    Factory factory_;
};

} // namespace quinmark
