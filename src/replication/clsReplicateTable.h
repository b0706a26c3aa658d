#pragma once

#include "QuinmarkRepDLL.h"

#include <comdef.h>
#include <string>

namespace quinmark {

/// The counters of one table, as they stand after `go`.
struct Counters
{
    long lCntSourceUpdate = 0;
    long lCntSourceAdd = 0;
    long lCntSourceDelete = 0;
    long lCntDestUpdate = 0;
    long lCntDestAdd = 0;
    long lCntDestDelete = 0;
    long lCntConflict = 0;
    long lCntError = 0;
};

struct OneWayPlan;

} // namespace quinmark

/// Replicates one table of the practice database by its configured method and counts what it did.
///
/// Failures are raised with the routine's name as source, for the replication routines followed by the table in
/// parentheses; counters keep what they had reached.
class clsReplicateTable
{
public:
    /// Configures the table. `iReplicationMethod` must fit 16 bits (6). A dependent table is for ONE_WAY_ALLOW_DELETES
    /// only, except with the table "computer_type" (0x800403E8).
    void init(long iReplicationMethod, const std::wstring& sTable, const std::wstring& sDependentTable,
              const std::wstring& sPKField, long eReplicateDeletes);

    /// Runs the table's method in the interval through `routines`, the object's own public interface. A method that
    /// does not exist raises 0x800403E8.
    void go(DATE dLastReplicate, DATE dNextReplicate, _clsReplicateTable& routines);

    /// Empties the destination table and copies the source table into it. A failed copy leaves it empty.
    void replicateOneWayDeleteAll();

    /// The same for computer_type with computer_type_setting, whatever table was configured.
    void replicateComputerType();

    /// Brings the destination in line with the source, row by row, matched by `unid` and compared by `mod_date`.
    /// Changes on the destination side are recorded as conflicts. At OFFICES each is also an error of the run, at a
    /// LAPTOP only a row that the source deleted. A failure also marks the run failed.
    void replicateOneWay(bool bAllowDeletes);

    /// The same for rows matched by the configured key field, with the configured delete handling. Without either
    /// nothing is done but mark the run failed.
    void replicateOneWayWithPKField();

    /// Copies each row that differs from the side with the newer `mod_date`, and each row that one side lacks to that
    /// side. Conflicts and deletions are only announced, in message boxes; what was done is not counted.
    void replicateTableTwoWay(bool bDeletes);

    const std::wstring& sTable() const { return sTable_; }
    const quinmark::Counters& counters() const { return counters_; }

private:
    void logFullCopy(const std::wstring& sTable) const;
    void replicateByPlan(const quinmark::OneWayPlan& plan, const std::wstring& sTitle);

    short iReplicationMethod_ = 0;
    std::wstring sTable_;
    std::wstring sDependentTable_;
    std::wstring sPKField_;
    long eReplicateDeletes_ = 0;
    DATE dLastReplicate_ = 0;
    DATE dNextReplicate_ = 0;
    quinmark::Counters counters_;
};
