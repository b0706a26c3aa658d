#pragma once

#include "Configuration.h"
#include "Session.h"

#include <string>

/// What a run would do with one table, and how many rows its destination has.
struct TablePreview
{
    std::string name;
    enumReplicationMethod method = ONE_WAY;
    long long destinationRows = 0;
    long long destinationUpdates = 0;
    long long destinationAdds = 0;
    /// Rows that the destination would lose.
    long long destinationDeletes = 0;
    /// Two-way replication only.
    long long sourceUpdates = 0;
    long long sourceAdds = 0;
    long long conflicts = 0;

    /// The share of the destination's rows that would be lost, in percent.
    double deletedPercent() const
    {
        return destinationRows == 0
                   ? 0
                   : 100.0 * static_cast<double>(destinationDeletes) / static_cast<double>(destinationRows);
    }
};

/// Looks at a table with the component's own comparison queries and decisions, and changes nothing.
/// `dLastReplicate` is the start of the interval that the run would have.
TablePreview previewTable(const Configuration& configuration, Databases& databases, const TableConfiguration& table,
                          DATE dLastReplicate);

/// The start of the interval that the next run of this site has. Raises HostError(kNotReady) when there is none.
DATE lastReplicateDate(const Configuration& configuration, Databases& databases);
