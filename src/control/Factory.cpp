#include "control/Factory.h"

#include "ado/constants.h"
#include "com/convert.h"
#include "control/RaiseError.h"
#include "control/checks.h"
#include "control/error_state.h"
#include "control/settings.h"
#include "version.h"

using namespace quinmark;

namespace {

constexpr DWORD kPauseAfterRemoteCloseMs = 5000;

/// Test hook: makes every connect fail after both connections are open. Off in every delivered build.
#ifdef QUINMARK_TEST_FAILED_CONNECTION
constexpr bool kTestFailedConnection = true;
#else
constexpr bool kTestFailedConnection = false;
#endif

} // namespace

void Factory::init(long iReplicationUniqueId, const std::wstring& sLocalConnection, const std::wstring& sSourceDB,
                   const std::wstring& sSourceDSN, const std::wstring& sSourcePswd, const std::wstring& sDestinationDB,
                   const std::wstring& sDestinationDSN, const std::wstring& sDestinationPswd, short iLogLevel,
                   const std::wstring& sLogFile)
try {
    Settings& shared = settings();
    shared.iLogLevel = iLogLevel;
    shared.sLogFile = sLogFile;
    shared.iReplicationUniqueId = com::toInt16(_variant_t(iReplicationUniqueId));
    shared.sLocalConnection = sLocalConnection;
    const std::wstring role = com::upperCase(sLocalConnection);
    if (role != L"SOURCE" && role != L"DESTINATION")
        Common::RaiseError(L"Factory.init", Common::kOwnError, L"Local Connection not set to SOURCE or DESTINATION");
    shared.sSourceDB = sSourceDB;
    shared.sSourceDSN = sSourceDSN;
    shared.sSourcePswd = sSourcePswd;
    shared.sDestinationDB = sDestinationDB;
    shared.sDestinationDSN = sDestinationDSN;
    shared.sDestinationPswd = sDestinationPswd;
    connectDatabases();
}
catch (...) {
    Common::reraise(L"Factory.init");
}

void Factory::connectDatabases()
try {
    Settings& shared = settings();
    if (shared.localConnection()->state() == ado::adStateOpen)
        shared.localConnection()->closeConnection();
    if (shared.remoteConnection()->state() == ado::adStateOpen) {
        shared.remoteConnection()->closeConnection();
        Sleep(kPauseAfterRemoteCloseMs);
    }
    if (shared.localIsSource()) {
        shared.localConnection()->openConnection(shared.sSourceDSN, shared.sSourcePswd);
        shared.remoteConnection()->openConnection(shared.sDestinationDSN, shared.sDestinationPswd);
    }
    else {
        shared.localConnection()->openConnection(shared.sDestinationDSN, shared.sDestinationPswd);
        shared.remoteConnection()->openConnection(shared.sSourceDSN, shared.sSourcePswd);
    }
    if constexpr (kTestFailedConnection)
        throw com::Error{10000, L"Factory.connectDatabases", L"Test failed connction"};
}
catch (...) {
    Common::reraise(L"Factory.connectDatabases");
}

void Factory::closeConnection()
try {
    Settings& shared = settings();
    if (shared.localConnection()->state() != ado::adStateClosed) {
        shared.localConnection()->closeConnection();
        shared.releaseLocalConnection();
    }
    if (shared.remoteConnection()->state() != ado::adStateClosed) {
        shared.remoteConnection()->closeConnection();
        shared.releaseRemoteConnection();
    }
}
catch (...) {
    Common::reraise(L"FactorycloseConnection");
}

void Factory::disconnect()
try {
    closeConnection();
}
catch (...) {
    Common::reraise(L"Factory.disconnect");
}

void Factory::setLogLevel(const _variant_t& iLogLevel)
{
    settings().iLogLevel = com::toInt16(iLogLevel);
}

bool Factory::ensureReplication()
try {
    Utils::checkVersions();
    Utils::checkOffice();
    return true;
}
catch (...) {
    sErrorMessage_ = com::currentError().description;
    return false;
}

void Factory::setError(bool bError, const std::wstring& sErrorMsg)
try {
    Utils::setError(bError, sErrorMsg);
}
catch (...) {
    Common::reraise(L"Factory.setError");
}

void Factory::resetError()
try {
    Utils::resetError();
}
catch (...) {
    Common::reraise(L"Factory.resetError");
}

std::unique_ptr<clsReplicateTable> Factory::createReplicationTable(long iReplicationMethod, const std::wstring& sTable,
                                                                   const std::wstring& sDependentTable,
                                                                   const std::wstring& sPKField, long eReplicateDeletes)
{
    auto table = std::make_unique<clsReplicateTable>();
    table->init(iReplicationMethod, sTable, sDependentTable, sPKField, eReplicateDeletes);
    return table;
}

clsConflict Factory::createConflict(const VARIANT& vConflictId) const
{
    clsConflict conflict;
    conflict.setConflictId(com::copyValue(vConflictId));
    return conflict;
}

std::wstring Factory::Version() const
{
    return kVersion;
}
