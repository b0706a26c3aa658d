#pragma once

#include "Configuration.h"
#include "ForeignKeyPreview.h"
#include "RunStop.h"
#include "Session.h"
#include "replication/row_policy.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

/// The effect of a run on one table.
struct TablePreview
{
    std::string name;
    /// The place of its table in the configuration.
    size_t configured = 0;
    enumReplicationMethod method = ONE_WAY;
    long long destinationRows = 0;
    long long destinationUpdates = 0;
    long long destinationAdds = 0;
    /// Rows that the destination would lose.
    long long destinationDeletes = 0;
    nlohmann::ordered_json deletedRows = nlohmann::ordered_json::array();
    /// Two-way replication only.
    long long sourceUpdates = 0;
    long long sourceAdds = 0;
    long long conflicts = 0;
    /// The reasons against beginning the run.
    std::vector<RunStop> stops;
};

/// Looks ahead at a run of the configuration, by the component's own comparison queries and decisions; changes nothing.
class RunPreview
{
public:
    /// Looks at every table. Raises HostError(kUsage) when the prefixes are of other databases than the connections,
    /// HostError(kNotReady) when the control record begins no interval, and com::Error, which names the table and what
    /// was done, when a database does not answer.
    RunPreview(const Configuration& configuration, Databases& databases);

    /// The stops that these options of a run do not pass, and those that they do, as a result tells them.
    nlohmann::ordered_json stops(bool force, bool attended) const;
    nlohmann::ordered_json passed(bool force, bool attended) const;

    /// The rows that the destination would lose, each with its table.
    nlohmann::ordered_json deletedRows() const;
    /// Each table with its counters.
    nlohmann::ordered_json tables() const;

private:
    void previewDeletedRows(const Configuration& configuration, Databases& databases,
                            std::optional<ForeignKeyPreview>& keys);
    nlohmann::ordered_json stopsThat(bool arePassed, bool force, bool attended) const;

    std::vector<TablePreview> tables_;
};

/// The start of the interval that the next run of this site has. Raises HostError(kNotReady) when there is none.
DATE lastReplicateDate(const Configuration& configuration, Databases& databases);

/// The site, as the decision tables name it.
quinmark::Site siteOf(const Configuration& configuration);
