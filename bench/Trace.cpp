#include "Trace.h"

#include "support/TextLine.h"

#include <filesystem>
#include <iterator>
#include <stdexcept>

namespace {

/// In the order of TraceKind.
constexpr const wchar_t* kWords[] = {L"connect", L"execute", L"count", L"open", L"next", L"close"};

bool hasId(TraceKind kind)
{
    return kind == TraceKind::Open || kind == TraceKind::Next || kind == TraceKind::Close;
}

bool hasText(TraceKind kind)
{
    return kind != TraceKind::Next && kind != TraceKind::Close;
}

TraceKind kindOf(const std::wstring& word)
{
    for (size_t index = 0; index < std::size(kWords); ++index)
        if (word == kWords[index])
            return static_cast<TraceKind>(index);
    throw std::runtime_error("the trace has a record of an unknown kind");
}

} // namespace

TraceWriter::TraceWriter(const std::wstring& path) : file_(std::filesystem::path(path), std::ios::binary)
{
    if (!file_)
        throw std::runtime_error("the trace cannot be written");
}

void TraceWriter::add(const TraceRecord& record)
{
    std::vector<std::wstring> fields{kWords[static_cast<size_t>(record.kind)]};
    if (hasId(record.kind))
        fields.push_back(std::to_wstring(record.id));
    if (hasText(record.kind)) {
        fields.emplace_back(1, record.side);
        fields.emplace_back(record.text);
    }
    file_ << joinLine(fields) << '\n';
}

Trace::Trace(const std::wstring& path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    if (!file)
        throw std::runtime_error("the trace cannot be read");
    // Never moved: no text has more characters than bytes, and the records point into it.
    texts_.reserve(static_cast<size_t>(std::filesystem::file_size(path)));
    for (std::string line; std::getline(file, line);)
        add(line);
}

void Trace::add(const std::string& line)
{
    const std::vector<std::wstring> fields = splitLine(line);
    TraceRecord record{.kind = kindOf(fields.front())};
    size_t next = 1;
    if (hasId(record.kind))
        record.id = std::stoul(fields.at(next++));
    if (hasText(record.kind)) {
        record.side = fields.at(next++).at(0);
        const std::wstring& text = fields.at(next++);
        record.text = std::wstring_view(texts_.data() + texts_.size(), text.size());
        texts_ += text;
    }
    records_.push_back(record);
}
