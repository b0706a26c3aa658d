#include "HostRun.h"

#include "TableSequence.h"
#include "com/convert.h"
#include "com/dispatch.h"
#include "control/FactoryFace.h"
#include "support/MessageBoxes.h"
#include "support/Raised.h"
#include "support/Requirements.h"

using namespace quinmark;
using allocations::Unwatched;
using Microsoft::WRL::ComPtr;

namespace {

/// The host gives up at the first step that fails.
struct GivenUp
{
};

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
        const UnshownBoxes boxes([this](const wchar_t* text) {
            const Unwatched own;
            outcome_.boxes.emplace_back(text);
        });
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
            outcome_.disconnectError = errorOf([&] { com::checkCall(code); }).description;
        factory_.Reset();
        outcome_.liveAtEnd = ado_.liveObjects;
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
        outcome_.error = errorOf([&] { com::checkCall(code); });
        endFaults();
        throw GivenUp();
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
        _variant_t role = com::textVariant(scenario_.localIsSource() ? L"SOURCE" : L"DESTINATION");
        _variant_t sourcePrefix = com::textVariant(setting(L"QUINMARK_OFFICE_PREFIX"));
        _variant_t sourceDsn = com::textVariant(setting(L"QUINMARK_OFFICE_DSN"));
        _variant_t destinationPrefix = com::textVariant(setting(L"QUINMARK_LAPTOP_PREFIX"));
        _variant_t destinationDsn = com::textVariant(setting(L"QUINMARK_LAPTOP_DSN"));
        _variant_t password = com::textVariant(setting(L"QUINMARK_PASSWORD"));
        _variant_t logFile = com::textVariant(logFile_);
        require(Step::Init, [&] {
            return factory_->init(&site, &role.bstrVal, &sourcePrefix.bstrVal, &sourceDsn.bstrVal, &password.bstrVal,
                                  &destinationPrefix.bstrVal, &destinationDsn.bstrVal, &password.bstrVal, &logLevel,
                                  &logFile.bstrVal);
        });
    }

    void setError()
    {
        VARIANT_BOOL failed = VARIANT_TRUE;
        _variant_t message = com::textVariant(L"told by the host");
        require(Step::SetError, [&] { return factory_->setError(&failed, &message.bstrVal); });
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
        _variant_t version = com::textVariant(L"3.46");
        require(Step::InitNextRun, [&] { return run_->initNextRun(&frequency, &version.bstrVal); });
    }

    void createTable()
    {
        enumReplicationMethod method = scenario_.method;
        enumReplicateDeletes deletes = scenario_.deletes;
        _variant_t table = com::textVariant(scenario_.table);
        _variant_t dependentTable = com::textVariant(scenario_.dependentTable);
        _variant_t keyField = com::textVariant(scenario_.keyField);
        require(Step::Create, [&] {
            return factory_->createReplicationTable(&method, &table.bstrVal, &dependentTable.bstrVal, &keyField.bstrVal,
                                                    &deletes, table_.GetAddressOf());
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
            connection.call(L"Open", {com::textVariant(L"DSN=" + setting(L"QUINMARK_LAPTOP_DSN") +
                                                       L";UID=quinmarkapp_user;PWD=" + setting(L"QUINMARK_PASSWORD"))});
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
