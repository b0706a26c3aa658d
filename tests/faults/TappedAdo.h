#pragma once

#include "AdoJournal.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>
#include <windows.h>

/// Stands between the component and ADO on the calling thread for as long as it lives: objects of ADODB.Connection,
/// Command and Recordset that are made inside a `Tapped` scope, and all that they hand out, pass every call on to the
/// real ones, record it, and fail it as the journal says. Objects made outside such a scope are the real ones.
///
/// Opened connections are kept and used again for the same connection string: opening one takes longer than a run.
class TappedAdo
{
public:
    TappedAdo();
    ~TappedAdo();
    TappedAdo(const TappedAdo&) = delete;
    TappedAdo& operator=(const TappedAdo&) = delete;

    AdoJournal& journal();
    /// Objects handed out and not released.
    long liveObjects() const;
    /// Runs after every statement that wrote.
    void whenWritten(std::function<void()> action);
    /// Closes the connections that are kept.
    void closeKept();

private:
    friend class Tapped;
    struct Shared;
    friend class TappedObject;
    friend class TappedFactory;

    std::shared_ptr<Shared> shared_;
    std::vector<DWORD> registrations_;
};

/// The component is at work in `step`: what it makes of ADO is tapped, and what it allocates is watched.
class Tapped
{
public:
    Tapped(TappedAdo& ado, Step step);
    ~Tapped();
    Tapped(const Tapped&) = delete;
    Tapped& operator=(const Tapped&) = delete;

private:
    TappedAdo& ado_;
};
