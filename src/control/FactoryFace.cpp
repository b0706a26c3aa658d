#include "control/FactoryFace.h"

#include "com/boundary.h"
#include "conflicts/ConflictFace.h"
#include "control/ReplicateFace.h"
#include "replication/ReplicateTableFace.h"

namespace quinmark {

using com::comBoundary;
using com::requireBool;
using com::requireIn;
using com::requireOut;
using com::requireText;

HRESULT FactoryFace::createReplication(_clsReplicate** result) noexcept
{
    return comBoundary(result, [&] { return com::makeObject<ReplicateFace>().Detach(); });
}

HRESULT FactoryFace::createReplicationTable(enumReplicationMethod* iReplicationMethod, BSTR* sTable,
                                            BSTR* sDependentTable, BSTR* sPKField,
                                            enumReplicateDeletes* eReplicateDeletes,
                                            _clsReplicateTable** result) noexcept
{
    return comBoundary([&] {
        requireOut(result);
        auto table = factory_.createReplicationTable(requireIn(iReplicationMethod), requireText(sTable),
                                                     requireText(sDependentTable), requireText(sPKField),
                                                     requireIn(eReplicateDeletes));
        *result = com::makeObject<ReplicateTableFace>(std::move(table)).Detach();
    });
}

HRESULT FactoryFace::createConflict(VARIANT* vConflictId, _clsConflict** result) noexcept
{
    return comBoundary([&] {
        requireOut(result);
        *result = com::makeObject<ConflictFace>(factory_.createConflict(requireIn(vConflictId))).Detach();
    });
}

HRESULT FactoryFace::init(enumReplicationUniqueId* iReplicationUniqueId, BSTR* sLocalConnection, BSTR* sSourceDB,
                          BSTR* sSourceDSN, BSTR* sSourcePswd, BSTR* sDestinationDB, BSTR* sDestinationDSN,
                          BSTR* sDestinationPswd, short* iLogLevel, BSTR* sLogFile) noexcept
{
    return comBoundary([&] {
        factory_.init(requireIn(iReplicationUniqueId), requireText(sLocalConnection), requireText(sSourceDB),
                      requireText(sSourceDSN), requireText(sSourcePswd), requireText(sDestinationDB),
                      requireText(sDestinationDSN), requireText(sDestinationPswd), requireIn(iLogLevel),
                      requireText(sLogFile));
    });
}

HRESULT FactoryFace::ensureReplication(VARIANT_BOOL* result) noexcept
{
    return comBoundary(result, [&] { return com::toVariantBool(factory_.ensureReplication()); });
}

HRESULT FactoryFace::disconnect() noexcept
{
    return comBoundary([&] { factory_.disconnect(); });
}

HRESULT FactoryFace::setLogLevel(VARIANT* iLogLevel) noexcept
{
    return comBoundary([&] { factory_.setLogLevel(requireIn(iLogLevel)); });
}

HRESULT FactoryFace::connectDatabases(VARIANT_BOOL*) noexcept
{
    return comBoundary([&] { factory_.connectDatabases(); });
}

HRESULT FactoryFace::closeConnection() noexcept
{
    return comBoundary([&] { factory_.closeConnection(); });
}

HRESULT FactoryFace::setError(VARIANT_BOOL* bError, BSTR* sErrorMsg) noexcept
{
    return comBoundary([&] { factory_.setError(requireBool(bError), requireText(sErrorMsg)); });
}

HRESULT FactoryFace::resetError() noexcept
{
    return comBoundary([&] { factory_.resetError(); });
}

HRESULT FactoryFace::get_Version(BSTR* value) noexcept
{
    return comBoundary(value, [&] { return com::newBstr(factory_.Version()); });
}

HRESULT FactoryFace::get_sErrorMessage(VARIANT* value) noexcept
{
    return comBoundary(value, [&] { return com::textVariant(factory_.sErrorMessage()).Detach(); });
}

} // namespace quinmark
