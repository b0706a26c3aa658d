#include "FailingAdo.h"

#include "com/convert.h"

namespace {

std::wstring dataSource(const AdoCall& call)
{
    if (!call.object || call.object->connectionString.empty())
        return {};
    const std::wstring& text = call.object->connectionString;
    return text.substr(4, text.find(L';') - 4);
}

bool isCreation(const AdoCall& call)
{
    return call.member == L"create";
}

/// A recordset is made for the command at hand.
size_t commandOf(const AdoCall& call, const AdoJournal& journal)
{
    if (!isCreation(call))
        return call.className == L"Connection" ? 0 : call.object->number;
    return call.className == L"Connection" ? 0 : journal.lastCommand();
}

HRESULT refuse(const AdoCall& call)
{
    return isCreation(call) ? REGDB_E_CLASSNOTREG : call.raise(E_FAIL, L"Test provider", L"Injected fault");
}

bool writes(const AdoCall& call)
{
    return call.is(L"Command", L"Execute") &&
           (call.object->isProcedure || com::upperCase(call.object->statement.substr(0, 6)) != L"SELECT");
}

} // namespace

void FailingAdo::closeKept()
{
    for (const auto& [text, connection] : kept_)
        connection.call(L"Close");
    kept_.clear();
}

HRESULT FailingAdo::call(AdoCall& call)
{
    if (call.is(L"Command", L"create"))
        journal.newCommand();
    if (!journal.recording)
        return carryOut(call);
    const std::optional<AdoFaultKind> fault = journal.add(commandOf(call, journal));
    if (fault == AdoFaultKind::Closed) {
        const std::wstring source = dataSource(call);
        cut(source.empty() ? lastSource_ : source);
    }
    HRESULT code = S_OK;
    if (fault == AdoFaultKind::NoMemory)
        code = E_OUTOFMEMORY;
    else if (fault == AdoFaultKind::Refused)
        code = refuse(call);
    else
        code = carryOut(call);
    if (SUCCEEDED(code))
        note(call);
    if (SUCCEEDED(code) && fault == AdoFaultKind::Lost) {
        if (call.result)
            VariantClear(call.result);
        code = refuse(call);
    }
    journal.last().failed = FAILED(code);
    return code;
}

void FailingAdo::note(const AdoCall& call)
{
    if (call.is(L"Connection", L"State"))
        journal.last().readsClosed = com::toInt32(*call.result) == 0;
    journal.last().writes = writes(call);
    if (journal.last().writes && whenWritten)
        whenWritten();
}

HRESULT FailingAdo::carryOut(AdoCall& call)
{
    HRESULT code = S_OK;
    if (call.is(L"Connection", L"Open"))
        code = open(call);
    else if (call.is(L"Connection", L"Close") && opened_.contains(call.object))
        close(*call.object);
    else
        code = call.passOn();
    if (FAILED(code))
        return code;
    if (isCreation(call))
        call.object->number = commandOf(call, journal);
    if (call.is(L"Command", L"CommandText"))
        journal.setText(call.object->number, call.object->statement);
    if (const std::wstring source = dataSource(call); !source.empty())
        lastSource_ = source;
    return code;
}

HRESULT FailingAdo::open(AdoCall& call)
{
    ProxiedObject& connection = *call.object;
    HRESULT code = S_OK;
    if (const auto kept = kept_.find(connection.connectionString); kept != kept_.end()) {
        connection.real = kept->second.get();
        kept_.erase(kept);
    }
    else {
        code = call.passOn();
    }
    if (FAILED(code))
        return code;
    opened_.insert(&connection);
    // The host's own connection is no business of the faults.
    if (journal.step != Step::Idle)
        alive_[dataSource(call)] = &connection;
    return code;
}

/// A closed connection in the place of an open one, which is kept.
void FailingAdo::close(ProxiedObject& connection)
{
    keep(connection);
    const bool before = std::exchange(atWork, false);
    connection.real = com::Dispatch::create(L"ADODB.Connection").get();
    atWork = before;
}

/// Leaves an open connection to the next one with its connection string.
void FailingAdo::keep(ProxiedObject& connection)
{
    std::erase_if(alive_, [&](const auto& known) { return known.second == &connection; });
    if (opened_.erase(&connection) > 0)
        kept_.emplace(connection.connectionString, com::Dispatch(connection.real.Get()));
}

void FailingAdo::released(ProxiedObject& object)
{
    --liveObjects;
    keep(object);
}

void FailingAdo::cut(const std::wstring& source)
{
    if (const auto connection = alive_.find(source); connection != alive_.end() && opened_.erase(connection->second))
        com::Dispatch(connection->second->real.Get()).call(L"Close");
}
