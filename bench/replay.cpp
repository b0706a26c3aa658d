// Sends a trace again: the same statements in the same order over the same ADO classes, and every row that they return
// read in full.
//
//   bench_replay [--whole | --append=FILE] TRACE
//
// With --whole connecting and disconnecting belong to the work. With --append FILE is opened, appended to and closed
// before every statement. The trace is in memory before the work begins.
#include "BareAdo.h"
#include "Trace.h"
#include "append.h"
#include "protocol.h"

#include <objbase.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace {

constexpr std::wstring_view kAppend = L"--append=";

class Replay
{
public:
    explicit Replay(const std::wstring& path) : trace_(path) {}

    void connect()
    {
        for (const TraceRecord& record : trace_.records())
            if (record.kind == TraceKind::Connect)
                connection(record) = bare::Connection(record.text);
    }

    void send()
    {
        for (const TraceRecord& record : trace_.records())
            send(record);
    }

    void sendAndAppend(const std::wstring& path)
    {
        for (const TraceRecord& record : trace_.records()) {
            if (isStatement(record))
                append(path.c_str(), std::string(record.text.size(), 'x'));
            send(record);
        }
    }

    void disconnect()
    {
        source_.close();
        destination_.close();
    }

    std::string counters() const
    {
        return "statements=" + std::to_string(statements_) + " rows=" + std::to_string(rows_);
    }

private:
    static bool isStatement(const TraceRecord& record)
    {
        return record.kind == TraceKind::Execute || record.kind == TraceKind::Count || record.kind == TraceKind::Open;
    }

    bare::Connection& connection(const TraceRecord& record) { return record.side == L'S' ? source_ : destination_; }

    void send(const TraceRecord& record)
    {
        statements_ += isStatement(record) ? 1 : 0;
        switch (record.kind) {
        case TraceKind::Connect:
            break;
        case TraceKind::Execute:
            bare::execute(connection(record), record.text);
            break;
        case TraceKind::Count:
            bare::executeCounted(connection(record), record.text);
            break;
        case TraceKind::Open:
            open_.resize(std::max(open_.size(), record.id + 1));
            open_[record.id] = bare::Recordset(connection(record), record.text);
            break;
        case TraceKind::Next:
            next(open_.at(record.id));
            break;
        case TraceKind::Close:
            close(open_.at(record.id));
            break;
        }
    }

    void next(const bare::Recordset& recordset)
    {
        if (recordset.atEnd())
            throw std::runtime_error("fewer rows than the trace has: another state of the databases");
        read(recordset);
        recordset.moveNext();
    }

    void close(bare::Recordset& recordset)
    {
        if (!recordset.atEnd())
            read(recordset);
        recordset.close();
        recordset = {};
    }

    void read(const bare::Recordset& recordset)
    {
        recordset.readRow();
        ++rows_;
    }

    Trace trace_;
    bare::Connection source_;
    bare::Connection destination_;
    std::vector<bare::Recordset> open_;
    long statements_ = 0;
    long rows_ = 0;
};

void replay(const std::wstring& option, const wchar_t* path)
{
    const bool whole = option == L"--whole";
    Replay work(path);
    if (!whole)
        work.connect();
    beginWork();
    if (whole)
        work.connect();
    if (option.starts_with(kAppend))
        work.sendAndAppend(option.substr(kAppend.size()));
    else
        work.send();
    if (whole)
        work.disconnect();
    endWork(work.counters());
    work.disconnect();
}

} // namespace

int wmain(int count, wchar_t* words[])
{
    const std::wstring option = count == 3 ? words[1] : L"";
    const bool known = option == L"--whole" || option.starts_with(kAppend) || count == 2;
    if (!known || FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        return 2;
    int status = 1;
    try {
        replay(option, words[count - 1]);
        status = 0;
    }
    catch (const std::exception& error) {
        printf("failed: %s\n", error.what());
    }
    CoUninitialize();
    return status;
}
