#pragma once

#include "QuinmarkRepDLL.h"

#include <string>
#include <vector>

/// A small run: a table replicated by a method at a site, with a row for every case of its rules.
struct Scenario
{
    std::wstring name;
    enumReplicationUniqueId site;
    enumReplicationMethod method;
    std::wstring table;
    /// The tables that are emptied and compared.
    std::vector<std::wstring> tables;
    std::wstring sourceRows;
    std::wstring destinationRows;
    /// The routine that names itself in what it raises; empty for those that leave the description alone.
    std::wstring routine = {};
    std::wstring dependentTable = {};
    std::wstring keyField = {};
    enumReplicateDeletes deletes = UNKNOWN;
    /// Calls of all the host's steps count, from `init` to `disconnect`, with the checks and the resolution of the
    /// conflicts; else only those of the run's `go`.
    bool wholeLife = false;

    bool localIsSource() const { return site == OFFICES; }
};

/// All of them.
std::vector<Scenario> scenarios();
