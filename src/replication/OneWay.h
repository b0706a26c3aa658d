#pragma once

#include "QuinmarkRepDLL.h"
#include "db/clsConn.h"
#include "replication/clsReplicateTable.h"
#include "replication/method_plan.h"
#include "replication/row_policy.h"
#include "replication/row_queries.h"

#include <memory>
#include <string>

namespace quinmark {

/// The differences between one-way replication by `unid` and by a key field of the table's own.
struct OneWayPlan
{
    KeyedTable table;
    Prefixes prefixes;
    Site site;
    /// Rewritten with its parent row; empty for none.
    std::wstring sDependentTable;
    /// Comments that refer to a company lose the reference before the company is deleted.
    bool clearsCommentCompanies;
    MethodPlan method;
};

/// The engine of one-way replication: compares the two copies of a table in up to three steps, each a stream of rows
/// from the local connection, and brings the destination in line. Each step takes its decisions from row_policy.h.
class OneWay
{
public:
    /// `counters` are zeroed, all but the conflicts, and count what was done.
    OneWay(OneWayPlan plan, DATE dLastReplicate, DATE dNextReplicate, Counters& counters);

    void run();

private:
    /// Gives the connection of the side that has a row.
    using Side = std::shared_ptr<clsConn> (*)();

    void replicateCommonRows();
    void replicateSourceOnlyRows();
    void replicateDestinationOnlyRows();

    /// Hands every row that one database has and the other has not to `handle`, its date in `dModDate`.
    void forEachMissingRow(const std::wstring& sHasPrefix, const std::wstring& sLacksPrefix, DATE& dModDate,
                           void (OneWay::*handle)(const _variant_t& vKey));

    void handleCommonRow(const _variant_t& vKey);
    void handleSourceOnlyRow(const _variant_t& vKey);
    void handleDestinationOnlyRow(const _variant_t& vKey);

    void updateDestination(const _variant_t& vKey);
    void insertIntoDestination(const _variant_t& vKey);
    void deleteFromDestination(const _variant_t& vKey);
    void rewriteDependents(const _variant_t& vKey);

    void reportChangedOnBoth(const _variant_t& vKey);
    void reportChangedOnDestination(const _variant_t& vKey);
    void reportOneSided(const _variant_t& vKey, enumConflictType eConflictType, Side side,
                        const std::wstring& sMessage);

    /// Records a conflict and counts it; false when the copies show no difference.
    bool report(const _variant_t& vKey, enumConflictType eConflictType);
    void dumpRow(Side side, const _variant_t& vKey);
    std::wstring changesNotAllowed() const;

    OneWayPlan plan_;
    DATE dLastReplicate_;
    DATE dNextReplicate_;
    Counters& counters_;
    std::wstring sDestDatabaseName_;
    std::wstring sSourceDatabaseName_;
    /// The dates of the current row. The date of a side that lacks the row stays that of the row before it, and a
    /// conflict is recorded with both.
    DATE dSrcModDate_ = 0;
    DATE dDestModDate_ = 0;
};

} // namespace quinmark
