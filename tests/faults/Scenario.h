#pragma once

#include "QuinmarkRepDLL.h"

#include <string>
#include <vector>

/// A small run: a table replicated by a method at a site, with a row for every case of its rules.
struct Scenario
{
    std::wstring name = {};
    enumReplicationMethod method = ONE_WAY;
    std::wstring table = {};
    std::wstring sourceRows = {};
    std::wstring destinationRows = {};
    std::wstring dependentTable = {};
    std::wstring keyField = {};
    enumReplicateDeletes deletes = UNKNOWN;
    /// The tables that are emptied and compared: that of the run, and those that go with it.
    std::vector<std::wstring> tables = {};
    enumReplicationUniqueId site = OFFICES;
    /// Calls of all the host's steps count, from `init` to `disconnect`, with the checks and the resolution of the
    /// conflicts; else only those of the run's `go`.
    bool wholeLife = false;

    bool localIsSource() const { return site == OFFICES; }
    /// By the routines that go row by row, count what they write and record their error.
    bool isOneWay() const
    {
        return method == ONE_WAY || method == ONE_WAY_ALLOW_DELETES || method == ONE_WAY_WITH_PK_FIELD;
    }
};

/// All of them.
std::vector<Scenario> scenarios();
