// Sends a trace again: the same statements in the same order over the same ADO classes, and every row that they return
// read in full.
//
//   bench_replay [--whole | --split | --append=FILE] TRACE
//
// With --whole connecting and disconnecting belong to the work. With --split it also tells the seconds that comparisons
// (queries whose rows are gone through), looks at one row, and writes took. With --append FILE is
// opened, appended to and closed before every statement. The trace is in memory before the work begins.
#include "BareAdo.h"
#include "Trace.h"
#include "append.h"
#include "protocol.h"

#include <objbase.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>

namespace {

constexpr std::wstring_view kAppend = L"--append=";

/// The seconds of statements, by what they are for.
class Split
{
public:
    void add(const TraceRecord& record, double seconds)
    {
        if (record.kind == TraceKind::Execute || record.kind == TraceKind::Count)
            write_ += seconds;
        if (record.kind == TraceKind::Open)
            query(record) = {0, false};
        query(record).seconds += seconds;
        if (record.kind == TraceKind::Next)
            query(record).compares = true;
        if (record.kind == TraceKind::Close)
            (query(record).compares ? compare_ : look_) += query(record).seconds;
    }

    std::string words() const
    {
        return " compare=" + std::to_string(compare_) + " look=" + std::to_string(look_) +
               " write=" + std::to_string(write_);
    }

private:
    struct Query
    {
        double seconds;
        bool compares;
    };

    Query& query(const TraceRecord& record)
    {
        queries_.resize(std::max(queries_.size(), record.id + 1));
        return queries_[record.id];
    }

    std::vector<Query> queries_;
    double compare_ = 0;
    double look_ = 0;
    double write_ = 0;
};

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

    Split sendAndSplit()
    {
        using Clock = std::chrono::steady_clock;
        Split split;
        for (const TraceRecord& record : trace_.records()) {
            const Clock::time_point begun = Clock::now();
            send(record);
            split.add(record, std::chrono::duration<double>(Clock::now() - begun).count());
        }
        return split;
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
    std::string words;
    if (option == L"--split")
        words = work.sendAndSplit().words();
    else if (option.starts_with(kAppend))
        work.sendAndAppend(option.substr(kAppend.size()));
    else
        work.send();
    if (whole)
        work.disconnect();
    endWork(work.counters() + words);
    work.disconnect();
}

} // namespace

int wmain(int count, wchar_t* words[])
{
    const std::wstring option = count == 3 ? words[1] : L"";
    const bool known = option == L"--whole" || option == L"--split" || option.starts_with(kAppend) || count == 2;
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
