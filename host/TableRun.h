#pragma once

#include <QuinmarkRepDLL.h>

#include <atomic>
#include <functional>
#include <oaidl.h>
#include <string>
#include <vector>
#include <wrl/client.h>

/// One table object on its way through a run.
struct TableInRun
{
    std::string name;
    Microsoft::WRL::ComPtr<_clsReplicateTable> table;
    bool started = false;
    bool finished = false;
};

/// The collection that a run is given. The component asks its enumerator for one table after the other, and so tells
/// how far it is.
///
/// Once `cancelled` is set the enumerator fails, with the tables that were not run in its error. It never ends early:
/// the component would take that for the end of the run and move the interval past tables that never ran.
class TableRun
{
public:
    using Progress = std::function<void(size_t index)>;

    /// `onStart` and `onFinish` are told the index of each table.
    TableRun(std::vector<TableInRun> tables, const std::atomic<bool>& cancelled, Progress onStart, Progress onFinish);

    /// The collection, as a value for the component. It refers to this object, which has to outlive the call.
    VARIANT collection();

    /// Fetches the next table: S_OK, S_FALSE at the end, or a failure with an error object.
    HRESULT next(VARIANT* value);

    /// To be called when the run is over and went well: the last table has finished.
    void finishLast();

    std::vector<TableInRun>& tables() { return tables_; }
    /// The table that was begun and has not finished; null between tables.
    const TableInRun* running() const;
    size_t indexOf(const TableInRun& table) const { return static_cast<size_t>(&table - tables_.data()); }

private:
    std::vector<TableInRun> tables_;
    const std::atomic<bool>& cancelled_;
    Progress onStart_;
    Progress onFinish_;
    size_t next_ = 0;
};
