#pragma once

#include <QuinmarkRepDLL.h>

#include <optional>
#include <string>
#include <vector>

/// One of the two databases. `password` names a source, never the password itself (see passwords.h).
struct SideConfiguration
{
    std::string dsn;
    std::string prefix;
    std::string password;
    /// The password itself, once it was asked for.
    std::wstring secret = {};
};

struct TableConfiguration
{
    std::string name;
    enumReplicationMethod method = ONE_WAY;
    std::string dependent;
    std::string key;
    enumReplicateDeletes deletes = UNKNOWN;
    /// Percent of the destination's rows that a run may delete, and that it may overwrite.
    double maxDelete = 20;
    double maxUpdate = 50;

    /// The column that rows are matched by.
    std::string keyColumn() const { return key.empty() ? "unid" : key; }

    /// Whether a run empties the destination's table and fills it again.
    bool isCopiedWhole() const { return method == ONE_WAY_DELETE_ALL || method == COMPUTER_TYPE; }
};

/// How a run treats an error that the last run recorded for conflicts alone.
enum class OnConflicts
{
    /// It waits for a person.
    Stop,
    /// It clears it.
    Continue,
};

/// Commands for the time before and after a run; empty for none.
struct HooksConfiguration
{
    std::string before;
    std::string after;
    /// Seconds that each may take.
    short timeout = 600;
};

struct Configuration
{
    enumReplicationUniqueId site = OFFICES;
    bool localIsSource = true;
    SideConfiguration source;
    SideConfiguration destination;
    std::string logFile;
    short logLevel = 3;
    std::string programVersion;
    /// Seconds between attempts.
    short frequency = 900;
    OnConflicts onConflicts = OnConflicts::Stop;
    HooksConfiguration hooks;
    std::vector<TableConfiguration> tables;

    const SideConfiguration& local() const { return localIsSource ? source : destination; }
    const SideConfiguration& remote() const { return localIsSource ? destination : source; }
};

/// Reads a configuration file. Raises HostError(kUsage) that lists every mistake with line, column and what was
/// expected.
Configuration loadConfiguration(const std::string& path);

/// The table of this name, in any case of letters. Raises HostError(kUsage) with the name that was probably meant.
const TableConfiguration& tableNamed(const Configuration& configuration, const std::string& name);

/// The names of the configuration's tables.
std::vector<std::string> tableNames(const Configuration& configuration);

/// The word for a method or a delete handling in configuration files and reports.
std::string methodName(enumReplicationMethod method);
std::string deletesName(enumReplicateDeletes deletes);

/// The word for a site.
std::string siteName(enumReplicationUniqueId site);
