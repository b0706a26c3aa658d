// The bare loop. Sends a trace again: the same statements in the same order over the same ADO classes, and every row
// that they return read in full.
//
//   bench_replay [--whole] TRACE
//
// With --whole connecting and disconnecting belong to the work. The trace is in memory before the work begins.
#include "Trace.h"
#include "bare_ado.h"
#include "protocol.h"
#include "support/Apartment.h"

#include <algorithm>
#include <stdexcept>

namespace {

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

    void disconnect()
    {
        source_.close();
        destination_.close();
    }

private:
    bare::Connection& connection(const TraceRecord& record) { return record.side == L'S' ? source_ : destination_; }

    void send(const TraceRecord& record)
    {
        switch (record.kind) {
        case TraceKind::Connect:
            break;
        case TraceKind::Execute:
            connection(record).execute(record.text);
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

    static void next(const bare::Recordset& recordset)
    {
        if (recordset.atEnd())
            throw std::runtime_error("fewer rows than the trace has: another state of the databases");
        recordset.readRow();
        recordset.moveNext();
    }

    static void close(bare::Recordset& recordset)
    {
        if (!recordset.atEnd())
            recordset.readRow();
        recordset.close();
        recordset = {};
    }

    Trace trace_;
    bare::Connection source_;
    bare::Connection destination_;
    std::vector<bare::Recordset> open_;
};

void measure(Replay& replay, bool whole)
{
    if (!whole)
        replay.connect();
    sayAndWait("begin");
    if (whole)
        replay.connect();
    replay.send();
    if (whole)
        replay.disconnect();
    sayAndWait("end");
    replay.disconnect();
}

} // namespace

int wmain(int count, wchar_t* words[])
try {
    const Apartment apartment;
    const bool whole = count == 3 && words[1] == std::wstring_view(L"--whole");
    if (count != (whole ? 3 : 2))
        return 2;
    Replay replay(words[count - 1]);
    measure(replay, whole);
    return 0;
}
catch (const std::exception& error) {
    std::cout << "failed: " << error.what() << std::endl;
    return 1;
}
