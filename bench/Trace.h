#pragma once

#include "support/TextLine.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <string_view>

/// A record of what a run sends to its databases, to be sent again by the bare loop. In a file one record a line, in
/// UTF-8, its fields separated by tabs, with \t \n \r \\ for these characters; S is the source and D the destination:
///
///     connect S|D CONNECTION_STRING
///     execute S|D TEXT                 a statement without rows
///     open ID S|D TEXT                 a forward-only, read-only recordset
///     next ID                          every column of the current row is read once, then MoveNext
///     close ID                         every column of the current row is read once, unless it is at the end
///
/// The end of a recordset is looked for before every row.
enum class TraceKind
{
    Connect,
    Execute,
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

/// A whole trace in memory. All texts lie in one block: with thousands of blocks, Wine's heap takes longer for every
/// further one, which would count as the client's own time.
class Trace
{
public:
    /// Throws std::exception for a file that is no trace.
    explicit Trace(const std::wstring& path)
    {
        using enum TraceKind;
        const std::map<std::wstring, TraceKind> kinds = {
            {L"connect", Connect}, {L"execute", Execute}, {L"open", Open}, {L"next", Next}, {L"close", Close}};
        // Never moved: no text has more characters than bytes, and the records point into it.
        texts_.reserve(static_cast<size_t>(std::filesystem::file_size(path)));
        std::ifstream file(std::filesystem::path(path), std::ios::binary);
        for (std::string line; std::getline(file, line);) {
            const std::vector<std::wstring> fields = splitLine(line);
            TraceRecord record{.kind = kinds.at(fields.front())};
            if (record.kind >= Open)
                record.id = std::stoul(fields.at(1));
            if (record.kind <= Open) {
                const std::wstring& text = fields.back();
                record.side = fields.at(fields.size() - 2).at(0);
                record.text = std::wstring_view(texts_.data() + texts_.size(), text.size());
                texts_ += text;
            }
            records_.push_back(record);
        }
    }
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    const std::vector<TraceRecord>& records() const { return records_; }

private:
    std::wstring texts_;
    std::vector<TraceRecord> records_;
};
