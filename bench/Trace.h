#pragma once

#include <fstream>
#include <string>
#include <string_view>
#include <vector>

/// What a run sends to its databases, to be sent again by bare loops. One record a line, in UTF-8, its fields separated
/// by tabs, with \t \n \r \\ for these characters; S is the source and D the destination:
///
///     connect S|D CONNECTION_STRING
///     execute S|D TEXT                 no rows, their number not wanted
///     count S|D TEXT                   no rows, their number wanted
///     open ID S|D TEXT                 a forward-only, read-only recordset; ID is a small number, used again when free
///     next ID                          every column of the current row is read once, then MoveNext
///     close ID                         every column of the current row is read once, unless it is at the end
///
/// The end of a recordset is looked for before every row.
enum class TraceKind
{
    Connect,
    Execute,
    Count,
    Open,
    Next,
    Close,
};

/// `id` is of a recordset; `text` of a statement or a connection string.
struct TraceRecord
{
    TraceKind kind;
    wchar_t side = L'S';
    size_t id = 0;
    std::wstring_view text = {};
};

/// Writes a trace; the last record is on disk once the object is gone.
class TraceWriter
{
public:
    explicit TraceWriter(const std::wstring& path);
    void add(const TraceRecord& record);

private:
    std::ofstream file_;
};

/// A whole trace in memory. All texts lie in one block: beside thousands of blocks, Wine's heap takes longer for every
/// other one, which would count as the client's own time.
class Trace
{
public:
    /// Throws std::runtime_error for a file that is none.
    explicit Trace(const std::wstring& path);
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    const std::vector<TraceRecord>& records() const { return records_; }

private:
    void add(const std::string& line);

    std::wstring texts_;
    std::vector<TraceRecord> records_;
};
