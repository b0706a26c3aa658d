#include "HostRun.h"

#include "PairState.h"
#include "TableSequence.h"
#include "com/convert.h"
#include "com/dispatch.h"
#include "control/FactoryFace.h"
#include "support/ImportHook.h"

using namespace quinmark;
using allocations::Unwatched;
using Microsoft::WRL::ComPtr;

namespace {

/// The host gives up at the first step that fails.
struct GivenUp
{
};

std::vector<std::wstring> g_boxes;

int WINAPI answerBox(HWND, const wchar_t* text, const wchar_t*, UINT)
{
    const Unwatched own;
    g_boxes.emplace_back(text);
    return IDOK;
}

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
    Host(FailingAdo& ado, const Scenario& scenario, const std::wstring& logFile, const FaultSwitch& faults)
        : ado_(ado),
          scenario_(scenario),
          logFile_(logFile),
          faults_(faults),
          factory_(com::makeObject<FactoryFace>())
    {
    }

    HostOutcome run()
    {
        const ImportHook boxes("MessageBoxW", reinterpret_cast<void*>(answerBox));
        g_boxes.clear();
        ado_.journal.recording = false;
        if (scenario_.wholeLife)
            beginFaults();
        const bool good = succeeds([&] { steps(); });
        readCounters();
        run_.Reset();
        table_.Reset();
        outcome_.liveBeforeDisconnect = ado_.liveObjects;
        if (scenario_.wholeLife && good)
            succeeds([&] { require(Step::Disconnect, [&] { return factory_->disconnect(); }); });
        endFaults();
        if (const HRESULT code = doStep(Step::Disconnect, [&] { return factory_->disconnect(); }); FAILED(code))
            outcome_.disconnectError = errorOf(code).description;
        factory_.Reset();
        outcome_.liveAtEnd = ado_.liveObjects;
        outcome_.boxes = g_boxes;
        return outcome_;
    }

private:
    void beginFaults()
    {
        ado_.journal.recording = true;
        faults_.begin();
    }

    void endFaults()
    {
        faults_.heal();
        ado_.journal.recording = false;
    }

    template <class Action>
    static bool succeeds(Action&& action)
    {
        try {
            action();
            return true;
        }
        catch (const GivenUp&) {
            return false;
        }
    }

    void readCounters()
    {
        if (!table_)
            return;
        com::checkCall(table_->get_lCntDestAdd(&outcome_.adds));
        com::checkCall(table_->get_lCntDestUpdate(&outcome_.updates));
        com::checkCall(table_->get_lCntDestDelete(&outcome_.deletes));
    }

    /// Has the component do something. `call` returns its HRESULT and does nothing else.
    template <class Call>
    HRESULT doStep(Step step, Call&& call)
    {
        SetErrorInfo(0, nullptr);
        const AtWork atWork(ado_, step);
        return call();
    }

    template <class Call>
    void require(Step step, Call&& call)
    {
        const HRESULT code = doStep(step, call);
        if (SUCCEEDED(code))
            return;
        outcome_.failedIn = step;
        outcome_.error = errorOf(code);
        endFaults();
        if (step == Step::SetReady || step == Step::InitNextRun || step == Step::Go)
            readRun();
        throw GivenUp();
    }

    void readRun()
    {
        BSTR message = nullptr;
        VARIANT_BOOL failed = VARIANT_FALSE;
        com::checkCall(run_->get_sErrorMessage(&message));
        com::checkCall(run_->get_bError(&failed));
        const _bstr_t owner(message, false);
        outcome_.runMessage = com::fromBstr(message);
        outcome_.runError = failed != VARIANT_FALSE;
    }

    void steps()
    {
        init();
        if (scenario_.wholeLife)
            setError();
        require(Step::ResetError, [&] { return factory_->resetError(); });
        ensure();
        require(Step::Create, [&] { return factory_->createReplication(run_.GetAddressOf()); });
        require(Step::SetReady, [&] { return run_->SetReady(); });
        initNextRun();
        createTable();
        const ComPtr<IDispatch> tables = tableSequence(ado_.journal, table_);
        _variant_t collection(tables.Get());
        if (!scenario_.wholeLife)
            beginFaults();
        require(Step::Go, [&] { return run_->go(&collection); });
        if (scenario_.wholeLife && scenario_.site == LAPTOP)
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
        require(Step::InitNextRun, [&] { return run_->initNextRun(&frequency, &version); });
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

    /// The host's own calls are neither recorded nor failed.
    template <class Call>
    auto asHost(Call&& call)
    {
        const bool recording = std::exchange(ado_.journal.recording, false);
        const AtWork atWork(ado_, Step::Idle);
        const Unwatched own;
        auto result = call();
        ado_.journal.recording = recording;
        return result;
    }

    /// The component's calls into the host's recordset fail like all others.
    void resolveConflicts()
    {
        const com::Dispatch connection = asHost([] { return com::Dispatch::create(L"ADODB.Connection"); });
        const com::Dispatch conflicts = asHost([&] {
            connection.call(L"Open",
                            {com::textVariant(L"DSN=" + Pair::setting(L"QUINMARK_LAPTOP_DSN") +
                                              L";UID=quinmarkapp_user;PWD=" + Pair::setting(L"QUINMARK_PASSWORD"))});
            return com::Dispatch::from(connection.call(
                L"Execute", {L"select * from replication_conflict order by conflict_type, table_name, guid"}));
        });
        while (asHost([&] { return !com::toBool(conflicts.property(L"EOF")); })) {
            resolve(conflicts);
            asHost([&] { return conflicts.call(L"MoveNext"); });
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

    FailingAdo& ado_;
    const Scenario& scenario_;
    const std::wstring& logFile_;
    const FaultSwitch& faults_;
    ComPtr<FactoryFace> factory_;
    ComPtr<_clsReplicate> run_;
    ComPtr<_clsReplicateTable> table_;
    HostOutcome outcome_;
};

} // namespace

HostOutcome runHost(FailingAdo& ado, const Scenario& scenario, const std::wstring& logFile, const FaultSwitch& faults)
{
    return Host(ado, scenario, logFile, faults).run();
}
