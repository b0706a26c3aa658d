#include "recording_classes.h"

#include "com/convert.h"

namespace {

constexpr DISPID kFirstRecordsetId = 5500;
constexpr DISPID kFirstFieldsId = 6600;
constexpr DISPID kFirstFieldId = 7700;

class RecordingField final : public RecordingObject
{
public:
    RecordingField(std::shared_ptr<RecordingJournal> shared, std::shared_ptr<RecordingCursor> cursor, size_t index)
        : RecordingObject(std::move(shared), L"Field", kFirstFieldId),
          cursor_(std::move(cursor)),
          index_(index)
    {
        using Arguments = RecordingArguments;
        property(L"Name", [this](const Arguments&) { return com::textVariant(column().name); });
        property(L"Type", [this](const Arguments&) { return _variant_t(static_cast<long>(column().type)); });
        property(L"Value", [this](const Arguments&) { return value(); });
    }

    std::wstring title() const override { return L"Field(" + column().name + L")"; }

private:
    const AdoColumn& column() const { return cursor_->rows.columns[index_]; }

    _variant_t value() const
    {
        if (!cursor_->open)
            throwAdoError(3704);
        if (cursor_->atEnd())
            throwAdoError(3021);
        return cursor_->rows.rows[cursor_->position].at(index_);
    }

    std::shared_ptr<RecordingCursor> cursor_;
    size_t index_;
};

class RecordingFields final : public RecordingObject
{
public:
    RecordingFields(std::shared_ptr<RecordingJournal> shared, std::shared_ptr<RecordingCursor> cursor)
        : RecordingObject(std::move(shared), L"Fields", kFirstFieldsId),
          cursor_(std::move(cursor))
    {
        using Arguments = RecordingArguments;
        property(L"Count", [this](const Arguments&) { return _variant_t(static_cast<long>(columnCount())); });
        property(L"Item", [this](const Arguments& arguments) { return item(arguments.at(0)); });
    }

    std::wstring title() const override { return L"Recordset.Fields"; }

private:
    size_t columnCount() const { return cursor_->open ? cursor_->rows.columns.size() : 0; }

    _variant_t item(const VARIANT& index) const
    {
        const bool byName = index.vt == VT_BSTR;
        const std::wstring name = byName ? com::toText(index) : std::wstring();
        const long position = byName ? -1 : com::toInt32(index);
        for (size_t column = 0; column < columnCount(); ++column) {
            const bool named = byName && lstrcmpiW(cursor_->rows.columns[column].name.c_str(), name.c_str()) == 0;
            if (named || static_cast<long>(column) == position)
                return ownedObject(new RecordingField(journal(), cursor_, column));
        }
        throwAdoError(3265);
    }

    std::shared_ptr<RecordingCursor> cursor_;
};

} // namespace

RecordingRecordset::RecordingRecordset(std::shared_ptr<RecordingJournal> shared)
    : RecordingObject(std::move(shared), L"Recordset", kFirstRecordsetId)
{
    using Arguments = RecordingArguments;
    property(L"CursorLocation", cursorLocation_);
    property(L"State", [this](const Arguments&) { return _variant_t(cursor_->open ? 1L : 0L); });
    property(L"EOF", [this](const Arguments&) { return _variant_t(requireOpen().atEnd()); });
    property(L"Fields", [this](const Arguments&) { return newFields(); });
    method(L"Open", [this](const Arguments& arguments) { return open(arguments), _variant_t(); });
    method(L"Close", [this](const Arguments&) { return close(), _variant_t(); });
    method(L"MoveNext", [this](const Arguments&) { return moveNext(), _variant_t(); });
}

RecordingRecordset::RecordingRecordset(std::shared_ptr<RecordingJournal> shared, AdoRows rows)
    : RecordingRecordset(std::move(shared))
{
    cursor_->rows = std::move(rows);
    cursor_->open = true;
}

RecordingRecordset::~RecordingRecordset()
{
    journal()->note(L"release Recordset");
}

void RecordingRecordset::open(const RecordingArguments& arguments)
{
    if (cursor_->open)
        throwAdoError(3705);
    auto* command = dynamic_cast<RecordingCommand*>(RecordingObject::behind(arguments.at(0)));
    if (!command || !arguments.isMissing(1))
        throwAdoError(3001);
    cursor_->rows = command->run().rows;
    cursor_->position = 0;
    cursor_->open = true;
}

void RecordingRecordset::close()
{
    requireOpen();
    cursor_->open = false;
}

void RecordingRecordset::moveNext()
{
    if (requireOpen().atEnd())
        throwAdoError(3021);
    ++cursor_->position;
}

const RecordingCursor& RecordingRecordset::requireOpen() const
{
    if (!cursor_->open)
        throwAdoError(3704);
    return *cursor_;
}

_variant_t RecordingRecordset::newFields()
{
    return ownedObject(new RecordingFields(journal(), cursor_));
}
