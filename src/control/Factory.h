#pragma once

#include "conflicts/clsConflict.h"
#include "control/clsReplicate.h"
#include "replication/clsReplicateTable.h"

#include <comdef.h>
#include <memory>
#include <string>

/// The entry object: stores a run's settings, opens and closes the two connections, runs the checks, records the
/// run's error and makes the other objects.
///
/// Failures are raised with the member's name as source ("Factory.init"; "FactorycloseConnection" without its dot),
/// number and description of the first cause. Members without a trap, as told below, pass them on as they are.
class Factory
{
public:
    /// Stores the settings and opens both connections. `iReplicationUniqueId` must fit 16 bits (6). A local role that
    /// is neither SOURCE nor DESTINATION raises 0x800403E8 before names are stored or anything is connected.
    void init(long iReplicationUniqueId, const std::wstring& sLocalConnection, const std::wstring& sSourceDB,
              const std::wstring& sSourceDSN, const std::wstring& sSourcePswd, const std::wstring& sDestinationDB,
              const std::wstring& sDestinationDSN, const std::wstring& sDestinationPswd, short iLogLevel,
              const std::wstring& sLogFile);

    /// Opens both connections, closing live ones first; pauses 5000 ms after closing a live remote one.
    void connectDatabases();

    /// Closes and releases the connections that are not closed.
    void closeConnection();
    void disconnect();

    /// Converts to 16 bits. No trap.
    void setLogLevel(const _variant_t& iLogLevel);

    /// Whether versions and offices of the two databases agree. Never raises: false leaves the reason in sErrorMessage.
    bool ensureReplication();
    void setError(bool bError, const std::wstring& sErrorMsg);
    void resetError();

    /// A table object that is configured. No trap: what its `init` raises.
    std::unique_ptr<clsReplicateTable> createReplicationTable(long iReplicationMethod, const std::wstring& sTable,
                                                              const std::wstring& sDependentTable,
                                                              const std::wstring& sPKField, long eReplicateDeletes);

    /// An empty conflict with that id; nothing is loaded. No trap.
    clsConflict createConflict(const VARIANT& vConflictId) const;

    std::wstring Version() const;
    const std::wstring& sErrorMessage() const { return sErrorMessage_; }

private:
    std::wstring sErrorMessage_;
};
