#pragma once

#include "com/convert.h"
#include "com/dispatch.h"
#include "support/AdoProxy.h"
#include "support/TextLine.h"

#include <filesystem>
#include <fstream>

/// Writes what is sent to the databases as a trace, whose form is in Trace.h. A trace cannot hold stored procedures or
/// recordsets that are opened by themselves; these fail with a text that says so.
class TraceRecorder final : public AdoHooks
{
public:
    /// `sourceDsn` tells the source's connection from the destination's.
    TraceRecorder(const std::wstring& path, const std::wstring& sourceDsn)
        : file_(std::filesystem::path(path), std::ios::binary),
          sourceDsn_(sourceDsn)
    {
    }

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

    /// A recordset that is released without having been closed is closed all the same.
    void released(ProxiedObject& object) override
    {
        if (object.className == L"Recordset")
            close(object);
    }

private:
    void trace(const AdoCall& call)
    {
        if (call.is(L"Connection", L"Open"))
            write({L"connect", sideOf(*call.object), call.object->connectionString});
        if (call.is(L"Command", L"Execute") && isOpenRecordset(call.result))
            open(*ProxiedObject::of(*call.result));
        else if (call.is(L"Command", L"Execute"))
            write({L"execute", sideOf(*call.object), call.object->statement});
        if (call.is(L"Recordset", L"MoveNext"))
            write({L"next", std::to_wstring(call.object->number)});
        if (call.is(L"Recordset", L"Close"))
            close(*call.object);
    }

    static bool isOpenRecordset(const VARIANT* result)
    {
        return result && result->vt == VT_DISPATCH && result->pdispVal &&
               com::toInt32(com::Dispatch(result->pdispVal).property(L"State")) != 0;
    }

    /// The number of an open recordset is its id in the trace.
    void open(ProxiedObject& recordset)
    {
        recordset.number = ++recordsets_;
        write({L"open", std::to_wstring(recordset.number), sideOf(recordset), recordset.statement});
    }

    void close(ProxiedObject& recordset)
    {
        if (recordset.number != 0)
            write({L"close", std::to_wstring(std::exchange(recordset.number, 0))});
    }

    std::wstring sideOf(const ProxiedObject& object) const
    {
        return object.connectionString.find(sourceDsn_ + L";") == std::wstring::npos ? L"D" : L"S";
    }

    void write(const std::vector<std::wstring>& fields) { file_ << joinLine(fields) << '\n'; }

    std::ofstream file_;
    std::wstring sourceDsn_;
    size_t recordsets_ = 0;
};
