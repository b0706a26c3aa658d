#include "HostRun.h"

#include "Allocations.h"
#include "PairState.h"
#include "TableSequence.h"
#include "com/convert.h"
#include "com/dispatch.h"
#include "control/FactoryFace.h"
#include "support/MessageBoxes.h"

using namespace quinmark;
using Microsoft::WRL::ComPtr;

namespace {

/// The host gives up at the first step that fails.
struct GivenUp
{
};

/// A text that is passed by reference, as every argument of the component is.
class TextArgument
{
public:
    explicit TextArgument(const std::wstring& text) : text_(com::newBstr(text), false) {}
    BSTR* operator&() { return &text_.GetBSTR(); }

private:
    _bstr_t text_;
};

com::Error errorOf(HRESULT code)
{
    try {
        com::checkCall(code);
        return {};
    }
    catch (const com::Error& error) {
        return error;
    }
}

class Host
{
public:
    Host(TappedAdo& ado, const Scenario& scenario, const std::wstring& logFile, const FaultSwitch& faults)
        : ado_(ado),
          scenario_(scenario),
          logFile_(logFile),
          faults_(faults),
          factory_(com::makeObject<FactoryFace>())
    {
    }

    HostOutcome run()
    {
        const MessageBoxes boxes;
        ado_.journal().recording = false;
        if (scenario_.wholeLife)
            beginFaults();
        try {
            steps();
        }
        catch (const GivenUp&) {
        }
        readCounters();
        run_.Reset();
        table_.Reset();
        outcome_.liveBeforeDisconnect = ado_.liveObjects();
        if (scenario_.wholeLife && outcome_.failedIn == Step::Idle)
            disconnectCounted();
        endFaults();
        disconnect();
        factory_.Reset();
        outcome_.liveAtEnd = ado_.liveObjects();
        outcome_.boxes = boxes.texts();
        return outcome_;
    }

private:
    void beginFaults()
    {
        ado_.journal().recording = true;
        faults_.begin();
    }

    void endFaults()
    {
        faults_.heal();
        ado_.journal().recording = false;
    }

    void readCounters()
    {
        if (!table_)
            return;
        com::checkCall(table_->get_lCntDestAdd(&outcome_.adds));
        com::checkCall(table_->get_lCntDestUpdate(&outcome_.updates));
        com::checkCall(table_->get_lCntDestDelete(&outcome_.deletes));
    }

    /// Has the component do something; `call` returns its HRESULT and does nothing else.
    template <class Call>
    HRESULT doStep(Step step, Call&& call)
    {
        SetErrorInfo(0, nullptr);
        const Tapped tapped(ado_, step);
        const allocations::Watched watched;
        return call();
    }

    template <class Call>
    void require(Step step, Call&& call)
    {
        const HRESULT code = doStep(step, std::forward<Call>(call));
        if (SUCCEEDED(code))
            return;
        outcome_.failedIn = step;
        outcome_.error = errorOf(code);
        throw GivenUp();
    }

    /// The same for a step of the run object.
    template <class Call>
    void requireOfRun(Step step, Call&& call)
    {
        try {
            require(step, std::forward<Call>(call));
        }
        catch (const GivenUp&) {
            ado_.journal().recording = false;
            faults_.heal();
            BSTR message = nullptr;
            VARIANT_BOOL failed = VARIANT_FALSE;
            com::checkCall(run_->get_sErrorMessage(&message));
            com::checkCall(run_->get_bError(&failed));
            const _bstr_t owner(message, false);
            outcome_.runMessage = com::fromBstr(message);
            outcome_.runError = failed != VARIANT_FALSE;
            throw;
        }
    }

    void steps()
    {
        init();
        if (scenario_.wholeLife)
            setError();
        require(Step::ResetError, [&] { return factory_->resetError(); });
        ensure();
        require(Step::Create, [&] { return factory_->createReplication(run_.GetAddressOf()); });
        requireOfRun(Step::SetReady, [&] { return run_->SetReady(); });
        initNextRun();
        createTable();
        const ComPtr<IDispatch> tables = tableSequence(ado_.journal(), table_);
        _variant_t collection(tables.Get());
        if (!scenario_.wholeLife)
            beginFaults();
        requireOfRun(Step::Go, [&] { return run_->go(&collection); });
        if (!scenario_.wholeLife)
            return;
        if (scenario_.site == LAPTOP)
            resolveConflicts();
    }

    void init()
    {
        enumReplicationUniqueId site = scenario_.site;
        short logLevel = 1;
        TextArgument role(scenario_.localIsSource() ? L"SOURCE" : L"DESTINATION");
        TextArgument sourcePrefix(Pair::setting(L"QUINMARK_OFFICE_PREFIX"));
        TextArgument sourceDsn(Pair::setting(L"QUINMARK_OFFICE_DSN"));
        TextArgument destinationPrefix(Pair::setting(L"QUINMARK_LAPTOP_PREFIX"));
        TextArgument destinationDsn(Pair::setting(L"QUINMARK_LAPTOP_DSN"));
        TextArgument password(Pair::setting(L"QUINMARK_PASSWORD"));
        TextArgument logFile(logFile_);
        require(Step::Init, [&] {
            return factory_->init(&site, &role, &sourcePrefix, &sourceDsn, &password, &destinationPrefix,
                                  &destinationDsn, &password, &logLevel, &logFile);
        });
    }

    void setError()
    {
        VARIANT_BOOL failed = VARIANT_TRUE;
        TextArgument message(L"told by the host");
        require(Step::SetError, [&] { return factory_->setError(&failed, &message); });
    }

    void ensure()
    {
        VARIANT_BOOL passed = VARIANT_FALSE;
        require(Step::Ensure, [&] { return factory_->ensureReplication(&passed); });
        if (passed != VARIANT_FALSE)
            return;
        _variant_t reason;
        com::checkCall(factory_->get_sErrorMessage(&reason));
        outcome_.failedIn = Step::Ensure;
        outcome_.error = {0, L"", com::concatText(reason)};
        throw GivenUp();
    }

    void initNextRun()
    {
        short frequency = 600;
        TextArgument version(L"3.46");
        requireOfRun(Step::InitNextRun, [&] { return run_->initNextRun(&frequency, &version); });
    }

    void createTable()
    {
        enumReplicationMethod method = scenario_.method;
        enumReplicateDeletes deletes = scenario_.deletes;
        TextArgument table(scenario_.table);
        TextArgument dependentTable(scenario_.dependentTable);
        TextArgument keyField(scenario_.keyField);
        require(Step::Create, [&] {
            return factory_->createReplicationTable(&method, &table, &dependentTable, &keyField, &deletes,
                                                    table_.GetAddressOf());
        });
    }

    /// The host's own query; the component's calls into its recordset are tapped like all others.
    com::Dispatch listConflicts()
    {
        const bool recording = std::exchange(ado_.journal().recording, false);
        const Tapped tapped(ado_, Step::Idle);
        const com::Dispatch connection = com::Dispatch::create(L"ADODB.Connection");
        connection.call(L"Open",
                        {com::textVariant(L"DSN=" + Pair::setting(L"QUINMARK_LAPTOP_DSN") +
                                          L";UID=quinmarkapp_user;PWD=" + Pair::setting(L"QUINMARK_PASSWORD"))});
        const com::Dispatch rows = com::Dispatch::from(connection.call(
            L"Execute", {L"select * from replication_conflict order by conflict_type, table_name, guid"}));
        ado_.journal().recording = recording;
        return rows;
    }

    void resolveConflicts()
    {
        const com::Dispatch conflicts = listConflicts();
        AdoJournal& journal = ado_.journal();
        for (;;) {
            const bool recording = std::exchange(journal.recording, false);
            const bool end = com::toBool(conflicts.property(L"EOF"));
            journal.recording = recording;
            if (end)
                return;
            resolve(conflicts);
            journal.recording = false;
            conflicts.call(L"MoveNext");
            journal.recording = recording;
        }
    }

    void resolve(const com::Dispatch& row)
    {
        _variant_t none;
        short resolution = USE_SOURCE;
        IDispatch* recordset = row.get();
        VARIANT_BOOL resolved = VARIANT_FALSE;
        ComPtr<_clsConflict> conflict;
        require(Step::Create, [&] { return factory_->createConflict(&none, conflict.GetAddressOf()); });
        require(Step::Load, [&] { return conflict->loadFromRs(&recordset); });
        com::checkCall(conflict->put_iResolutionType(&resolution));
        require(Step::Resolve, [&] { return conflict->resolve(&resolved); });
    }

    void disconnectCounted()
    {
        try {
            require(Step::Disconnect, [&] { return factory_->disconnect(); });
        }
        catch (const GivenUp&) {
        }
    }

    void disconnect()
    {
        const HRESULT code = doStep(Step::Disconnect, [&] { return factory_->disconnect(); });
        if (FAILED(code))
            outcome_.disconnectError = errorOf(code).description;
    }

    TappedAdo& ado_;
    const Scenario& scenario_;
    const std::wstring& logFile_;
    const FaultSwitch& faults_;
    ComPtr<FactoryFace> factory_;
    ComPtr<_clsReplicate> run_;
    ComPtr<_clsReplicateTable> table_;
    HostOutcome outcome_;
};

} // namespace

HostOutcome runHost(TappedAdo& ado, const Scenario& scenario, const std::wstring& logFile, const FaultSwitch& faults)
{
    return Host(ado, scenario, logFile, faults).run();
}
