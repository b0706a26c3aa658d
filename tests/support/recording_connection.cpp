#include "recording_classes.h"

#include "com/convert.h"

namespace {

constexpr DISPID kFirstId = 1100;

std::wstring dsnOf(const std::wstring& connectionString)
{
    constexpr wchar_t kKey[] = L"DSN=";
    const size_t key = connectionString.find(kKey);
    if (key == std::wstring::npos)
        return connectionString;
    const size_t first = key + std::size(kKey) - 1;
    return connectionString.substr(first, connectionString.find(L';', first) - first);
}

} // namespace

RecordingConnection::RecordingConnection(std::shared_ptr<RecordingJournal> shared)
    : RecordingObject(std::move(shared), L"Connection", kFirstId)
{
    using Arguments = RecordingArguments;
    property(L"CursorLocation", cursorLocation_);
    property(L"ConnectionTimeout", connectionTimeout_);
    property(L"State",
             [this](const Arguments&) { return _variant_t(journal()->stateOf(label_).value_or(open_ ? 1L : 0L)); });
    property(L"DefaultDatabase", [this](const Arguments&) {
        requireOpen();
        return com::textVariant(journal()->defaultDatabase(label_));
    });
    method(L"Open", [this](const Arguments& arguments) { return open(arguments), _variant_t(); });
    method(L"Close", [this](const Arguments&) { return close(), _variant_t(); });
    method(L"BeginTrans", [this](const Arguments&) { return requireOpen(), _variant_t(1L); });
    method(L"CommitTrans", [this](const Arguments&) { return requireOpen(), _variant_t(); });
    method(L"RollbackTrans", [this](const Arguments&) { return requireOpen(), _variant_t(); });
}

RecordingConnection::~RecordingConnection()
{
    journal()->note(L"release " + title());
}

std::wstring RecordingConnection::title() const
{
    return label_.empty() ? L"Connection" : L"Connection(" + label_ + L")";
}

void RecordingConnection::open(const RecordingArguments& arguments)
{
    if (open_)
        throwAdoError(3705);
    label_ = dsnOf(arguments.text(0));
    open_ = true;
}

void RecordingConnection::close()
{
    requireOpen();
    open_ = false;
}

void RecordingConnection::requireOpen() const
{
    if (!open_)
        throwAdoError(3704);
}
