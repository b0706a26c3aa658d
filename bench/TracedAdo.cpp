#include "TracedAdo.h"

#include "Trace.h"
#include "com/convert.h"
#include "com/dispatch.h"

#include <algorithm>

namespace {

bool isOpenRecordset(const VARIANT* result)
{
    return result && result->vt == VT_DISPATCH && result->pdispVal &&
           com::toInt32(com::Dispatch(result->pdispVal).property(L"State")) != 0;
}

/// The number of a recordset that is open and traced is its id in the trace, from 1.
class Tracing final : public AdoHooks
{
public:
    Tracing(const std::wstring& path, std::wstring sourceDsn) : writer_(path), sourceDsn_(std::move(sourceDsn)) {}

    HRESULT call(AdoCall& call) override
    {
        constexpr long kStoredProcedure = 4;
        if (call.is(L"Command", L"CommandType") && com::toInt32(call.argument(0)) == kStoredProcedure)
            return call.raise(E_NOTIMPL, L"Trace", L"a trace holds no stored procedures");
        if (call.is(L"Recordset", L"Open"))
            return call.raise(E_NOTIMPL, L"Trace", L"a trace holds recordsets of commands only");
        const HRESULT code = call.passOn();
        if (SUCCEEDED(code))
            trace(call);
        return code;
    }

    /// A recordset that is let go without having been closed is closed all the same.
    void released(ProxiedObject& object) override
    {
        if (object.className == L"Recordset")
            close(object);
    }

private:
    void trace(const AdoCall& call)
    {
        if (call.is(L"Connection", L"Open"))
            writer_.add(
                {.kind = TraceKind::Connect, .side = sideOf(*call.object), .text = call.object->connectionString});
        if (call.is(L"Command", L"Execute"))
            traceStatement(call);
        if (call.is(L"Recordset", L"MoveNext"))
            writer_.add({.kind = TraceKind::Next, .id = call.object->number - 1});
        if (call.is(L"Recordset", L"Close"))
            close(*call.object);
    }

    void traceStatement(const AdoCall& call)
    {
        TraceRecord record{.kind = TraceKind::Execute, .side = sideOf(*call.object), .text = call.object->statement};
        const bool counted = !call.arguments.empty() && (call.argument(0).vt & VT_BYREF) != 0;
        if (isOpenRecordset(call.result)) {
            record.kind = TraceKind::Open;
            record.id = takeId();
            ProxiedObject::of(*call.result)->number = record.id + 1;
        }
        else if (counted) {
            record.kind = TraceKind::Count;
        }
        writer_.add(record);
    }

    void close(ProxiedObject& recordset)
    {
        const size_t number = std::exchange(recordset.number, 0);
        if (number == 0)
            return;
        writer_.add({.kind = TraceKind::Close, .id = number - 1});
        taken_[number - 1] = false;
    }

    wchar_t sideOf(const ProxiedObject& object) const
    {
        return object.connectionString.find(sourceDsn_ + L";") == std::wstring::npos ? L'D' : L'S';
    }

    /// A number that no open recordset has.
    size_t takeId()
    {
        const auto free = std::find(taken_.begin(), taken_.end(), false);
        const auto id = static_cast<size_t>(free - taken_.begin());
        if (free == taken_.end())
            taken_.push_back(false);
        taken_[id] = true;
        return id;
    }

    TraceWriter writer_;
    std::wstring sourceDsn_;
    std::vector<bool> taken_;
};

} // namespace

TracedAdo::TracedAdo(const std::wstring& tracePath, const std::wstring& sourceDsn)
    : proxy_(std::make_shared<Tracing>(tracePath, sourceDsn))
{
}
