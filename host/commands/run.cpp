#include "Preview.h"
#include "TableRun.h"
#include "cancellation.h"
#include "commands.h"
#include "commands/rows.h"

#include <chrono>
#include <fmt/format.h>
#include <iostream>

using Microsoft::WRL::ComPtr;
using nlohmann::ordered_json;

namespace {

/// At most one run at a time for a site and database. The platform frees it when a process dies.
class SiteLock
{
public:
    explicit SiteLock(const Configuration& configuration)
        : mutex_(CreateMutexW(
              nullptr, FALSE,
              (L"Local\\quinrep-" + toWide(configuration.local().dsn) + L"-" + siteKey(configuration.site)).c_str()))
    {
        const DWORD waited = mutex_ ? WaitForSingleObject(mutex_, 0) : WAIT_FAILED;
        held_ = waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED;
        if (!held_)
            throw HostError(kNotReady, "another run of this site is going on");
    }
    ~SiteLock()
    {
        if (held_)
            ReleaseMutex(mutex_);
        if (mutex_)
            CloseHandle(mutex_);
    }
    SiteLock(const SiteLock&) = delete;
    SiteLock& operator=(const SiteLock&) = delete;

private:
    HANDLE mutex_;
    bool held_ = false;
};

/// The tables that would lose more rows than they may.
ordered_json endangeredTables(const Configuration& configuration)
{
    Databases databases(configuration);
    const DATE last = lastReplicateDate(configuration, databases);
    ordered_json endangered = ordered_json::array();
    for (const TableConfiguration& table : configuration.tables) {
        const TablePreview preview = previewTable(configuration, databases, table, last);
        if (preview.deletedPercent() > table.maxDelete)
            endangered.push_back({{"table", table.name},
                                  {"deletes", preview.destinationDeletes},
                                  {"destination_rows", preview.destinationRows},
                                  {"max_delete", table.maxDelete}});
    }
    return endangered;
}

/// Progress on standard error: one line that is written over on a terminal, plain lines in a pipe.
class Progress
{
public:
    Progress(const std::vector<TableConfiguration>& tables, bool quiet) : tables_(tables), quiet_(quiet)
    {
        DWORD mode = 0;
        terminal_ = GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
    }

    void show(size_t index, const char* what) const
    {
        if (quiet_)
            return;
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
        std::cerr << fmt::format("{}[{}/{}] {} {} ({:.1f} s){}", terminal_ ? "\r\033[K" : "", index + 1, tables_.size(),
                                 tables_[index].name, what, seconds,
                                 terminal_ && index + 1 < tables_.size() ? "" : "\n")
                  << std::flush;
    }

private:
    const std::vector<TableConfiguration>& tables_;
    bool quiet_;
    bool terminal_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

long counter(_clsReplicateTable& table, HRESULT (STDMETHODCALLTYPE _clsReplicateTable::*property)(long*))
{
    long value = 0;
    com::checkCall((table.*property)(&value));
    return value;
}

ordered_json tableResult(const TableConfiguration& configured, const TableInRun& run)
{
    _clsReplicateTable& table = *run.table.Get();
    return {{"table", configured.name},
            {"method", methodName(configured.method)},
            {"done", run.finished},
            {"updates", counter(table, &_clsReplicateTable::get_lCntDestUpdate)},
            {"adds", counter(table, &_clsReplicateTable::get_lCntDestAdd)},
            {"deletes", counter(table, &_clsReplicateTable::get_lCntDestDelete)},
            {"conflicts", counter(table, &_clsReplicateTable::get_lCntConflict)},
            {"errors", counter(table, &_clsReplicateTable::get_lCntError)}};
}

DATE dateProperty(_clsReplicate& run, HRESULT (STDMETHODCALLTYPE _clsReplicate::*property)(DATE*))
{
    DATE value = 0;
    com::checkCall((run.*property)(&value));
    return value;
}

bool flagProperty(_clsReplicate& run, HRESULT (STDMETHODCALLTYPE _clsReplicate::*property)(VARIANT_BOOL*))
{
    VARIANT_BOOL value = VARIANT_FALSE;
    com::checkCall((run.*property)(&value));
    return value != VARIANT_FALSE;
}

/// One run through the component.
class Run
{
public:
    Run(const Configuration& configuration, const RunOptions& options)
        : configuration_(configuration),
          component_(configuration),
          progress_(configuration.tables, options.quiet)
    {
    }

    Outcome go(bool markReady)
    {
        prepare(markReady);
        std::vector<TableInRun> created;
        for (const TableConfiguration& table : configuration_.tables)
            created.push_back({table.name, component_.createTable(table)});
        TableRun tables(
            std::move(created), cancellation(), [this](size_t index) { progress_.show(index, "running"); },
            [this](size_t index) { progress_.show(index, "done"); });
        try {
            _variant_t collection;
            static_cast<VARIANT&>(collection) = tables.collection();
            com::checkCall(run_->go(&collection));
            advanceLaptop();
        }
        catch (const com::Error& error) {
            component_.setError(error.description);
            return failed(error, tables);
        }
        return finished(tables);
    }

private:
    void prepare(bool markReady)
    {
        component_.ensureReplication();
        run_ = component_.createReplication();
        if (markReady)
            com::checkCall(run_->SetReady());
        short frequency = configuration_.frequency;
        _bstr_t version(com::newBstr(toWide(configuration_.programVersion)), false);
        com::checkCall(run_->initNextRun(&frequency, &version.GetBSTR()));
        from_ = dateProperty(*run_.Get(), &_clsReplicate::get_dLastReplicate);
        if (flagProperty(*run_.Get(), &_clsReplicate::get_bError))
            throw HostError(kNotReady, "the last run is in error: " + recorded() +
                                           "\n  Look into it, then clear it with --reset-error.");
        if (!flagProperty(*run_.Get(), &_clsReplicate::get_bReady))
            throw HostError(kNotReady, "the site is not marked ready for a run; --ready marks it");
    }

    std::string recorded()
    {
        return toUtf8(textProperty([this](BSTR* text) { return run_->get_sErrorMessage(text); }));
    }

    /// The component moves the interval of the offices' site only; a laptop's host moves its own.
    void advanceLaptop()
    {
        if (configuration_.site == OFFICES)
            return;
        Databases databases(configuration_);
        databases.local().execute(L"update replication_control set last_timestamp = " +
                                      Common::SqlDate(dateProperty(*run_.Get(), &_clsReplicate::get_dNextReplicate)) +
                                      L" where unique_key = " + siteKey(configuration_.site),
                                  false);
    }

    ordered_json summary(TableRun& tables)
    {
        ordered_json result;
        result["from"] = toUtf8(com::dateText(from_));
        result["to"] = toUtf8(com::dateText(dateProperty(*run_.Get(), &_clsReplicate::get_dNextReplicate)));
        result["tables"] = ordered_json::array();
        for (size_t index = 0; index < tables.tables().size(); ++index)
            result["tables"].push_back(tableResult(configuration_.tables[index], tables.tables()[index]));
        return result;
    }

    Outcome failed(const com::Error& error, TableRun& tables)
    {
        Outcome outcome{summary(tables), kFailed};
        outcome.result["error"] = {
            {"number", error.number}, {"source", toUtf8(error.source)}, {"description", toUtf8(error.description)}};
        outcome.result["text"] = describe(error);
        return outcome;
    }

    Outcome finished(TableRun& tables)
    {
        tables.finishLast();
        Outcome outcome{summary(tables)};
        long conflicts = 0;
        for (const ordered_json& table : outcome.result["tables"])
            conflicts += table["conflicts"].get<long>();
        const bool error = flagProperty(*run_.Get(), &_clsReplicate::get_bError);
        outcome.result["recorded"] = error ? recorded() : "";
        if (error || conflicts > 0)
            outcome.exitCode = kRecorded;
        return outcome;
    }

    const Configuration& configuration_;
    Component component_;
    Progress progress_;
    ComPtr<_clsReplicate> run_;
    DATE from_ = 0;
};

} // namespace

Outcome runCommand(const Configuration& configuration, const RunOptions& options)
{
    const SiteLock lock(configuration);
    if (!options.force) {
        ordered_json endangered = endangeredTables(configuration);
        if (!endangered.empty())
            return {{{"guard", std::move(endangered)}}, kGuarded};
    }
    if (options.resetError)
        Component(configuration).resetError();
    return Run(configuration, options).go(options.markReady);
}
