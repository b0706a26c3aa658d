#pragma once

#include "QuinmarkRepDLL.h"
#include "db/clsConn.h"
#include "db/prefixes.h"

#include <memory>
#include <string>

namespace quinmark {

/// The arguments of `Factory.init`, and the two connections. One set per host thread, shared by every object of the
/// component on that thread, for as long as the thread lives or the component stays loaded.
struct Settings
{
    short iLogLevel = 0;
    std::wstring sLogFile;
    short iReplicationUniqueId = OFFICES;
    std::wstring sLocalConnection;
    std::wstring sSourceDB;
    std::wstring sDestinationDB;
    std::wstring sSourceDSN;
    std::wstring sSourcePswd;
    std::wstring sDestinationDSN;
    std::wstring sDestinationPswd;

    Prefixes prefixes() const { return {sSourceDB, sDestinationDB}; }

    /// The holder on the machine's own database, or on the other one; an empty one is made when there is none. Shared,
    /// so that a statement under way keeps its holder when the host disconnects from within a message box.
    std::shared_ptr<clsConn> localConnection();
    std::shared_ptr<clsConn> remoteConnection();
    void releaseLocalConnection() { local_.reset(); }
    void releaseRemoteConnection() { remote_.reset(); }

    /// Whether the local database is the source. Any role but SOURCE makes it the destination.
    bool localIsSource() const;

    /// Gives up the connections without a call into them, for a moment at which none may be made.
    void abandonConnections();

private:
    std::shared_ptr<clsConn> local_;
    std::shared_ptr<clsConn> remote_;
};

/// The settings of the calling thread.
Settings& settings();

/// To be called from DllMain, the first also from a program that has the component linked in: they name the module and
/// reserve the slot, and free a thread's settings and the slot. Live connections are let go unreleased there, because
/// no COM call may be made under the loader's lock.
bool attachComponent(HINSTANCE module);
void detachThreadSettings();
void detachSettings();

} // namespace quinmark
