#pragma once

#include "AdoJournal.h"
#include "Allocations.h"
#include "com/dispatch.h"
#include "support/AdoProxy.h"

#include <functional>
#include <set>

/// ADO as the component meets it: every call is recorded, and fails as the journal says.
///
/// Opened connections are kept and used again for the same connection string: opening one takes longer than a run.
class FailingAdo final : public AdoHooks
{
public:
    AdoJournal journal;
    /// Whether new objects are watched and failed here; all others are ADO's own.
    bool atWork = false;
    /// Objects handed out and not released.
    long liveObjects = 0;
    /// Runs after every statement that wrote.
    std::function<void()> whenWritten;

    /// Closes the connections that are kept.
    void closeKept();

    bool wantsProxy() const override { return atWork; }
    HRESULT call(AdoCall& call) override;
    void created(ProxiedObject&) override { ++liveObjects; }
    void released(ProxiedObject& object) override;
    void enter() override { allocations::pause(); }
    void leave() override { allocations::resume(); }

private:
    HRESULT carryOut(AdoCall& call);
    HRESULT open(AdoCall& call);
    void close(ProxiedObject& connection);
    void keep(ProxiedObject& connection);
    void cut(const std::wstring& source);
    void note(const AdoCall& call);

    /// Idle open connections by their connection string.
    std::multimap<std::wstring, com::Dispatch> kept_;
    std::set<ProxiedObject*> opened_;
    /// The component's connections that are alive, by their data source.
    std::map<std::wstring, ProxiedObject*> alive_;
    std::wstring lastSource_;
};

/// The component is at work in `step`: it meets this ADO, and what it allocates is watched.
class AtWork
{
public:
    AtWork(FailingAdo& ado, Step step) : ado_(ado)
    {
        ado_.atWork = true;
        ado_.journal.step = step;
    }
    ~AtWork()
    {
        ado_.atWork = false;
        ado_.journal.step = Step::Idle;
    }
    AtWork(const AtWork&) = delete;
    AtWork& operator=(const AtWork&) = delete;

private:
    FailingAdo& ado_;
    allocations::Watched watched_;
};
