// Sends a trace again: the same statements in the same order over the same ADO classes, and every row that they return
// read in full.
//
//   bench_replay [--whole] TRACE
//
// With --whole connecting and disconnecting belong to the work. The trace is in memory before the work begins.
#include "BareAdo.h"
#include "Trace.h"
#include "protocol.h"

#include <objbase.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace {

class Replay
{
public:
    explicit Replay(std::vector<TraceRecord> records) : records_(std::move(records)) {}

    void connect()
    {
        for (const TraceRecord& record : records_)
            if (record.kind == TraceKind::Connect)
                connection(record) = bare::Connection(record.text);
    }

    void send()
    {
        for (const TraceRecord& record : records_)
            send(record);
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
    bare::Connection& connection(const TraceRecord& record) { return record.side == L'S' ? source_ : destination_; }

    void send(const TraceRecord& record)
    {
        switch (record.kind) {
        case TraceKind::Connect:
            break;
        case TraceKind::Execute:
            ++statements_;
            bare::execute(connection(record), record.text);
            break;
        case TraceKind::Count:
            ++statements_;
            bare::executeCounted(connection(record), record.text);
            break;
        case TraceKind::Open:
            ++statements_;
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

    std::vector<TraceRecord> records_;
    bare::Connection source_;
    bare::Connection destination_;
    std::vector<bare::Recordset> open_;
    long statements_ = 0;
    long rows_ = 0;
};

void replay(bool whole, const wchar_t* path)
{
    Replay work(readTrace(path));
    if (!whole)
        work.connect();
    beginWork();
    if (whole)
        work.connect();
    work.send();
    if (whole)
        work.disconnect();
    endWork(work.counters());
    work.disconnect();
}

} // namespace

int wmain(int count, wchar_t* words[])
{
    const bool whole = count == 3 && std::wstring(words[1]) == L"--whole";
    if ((!whole && count != 2) || FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        return 2;
    int status = 1;
    try {
        replay(whole, words[count - 1]);
        status = 0;
    }
    catch (const std::exception& error) {
        printf("failed: %s\n", error.what());
    }
    CoUninitialize();
    return status;
}
