#include "RecordingObject.h"
#include "com/convert.h"

#include <memory>

using Microsoft::WRL::ComPtr;

namespace {

using Arguments = RecordingObject::Arguments;

/// The place of an item by its name (without case) or its number; fails when there is no such item.
size_t placeOf(const VARIANT& item, size_t count, const std::function<std::wstring(size_t)>& name)
{
    for (size_t place = 0; place < count; ++place)
        if (item.vt == VT_BSTR ? lstrcmpiW(name(place).c_str(), item.bstrVal) == 0
                               : static_cast<size_t>(com::toInt32(item)) == place)
            return place;
    throwAdoError(3265);
}

_variant_t countOf(size_t items)
{
    return static_cast<long>(items);
}

class Connection final : public RecordingObject
{
public:
    explicit Connection(RecordingAdo& recorder) : RecordingObject(recorder, L"Connection", 1100, L"Connection")
    {
        stored(L"CursorLocation", 2L);
        stored(L"ConnectionTimeout", 15L);
        property(L"State", [this](const Arguments&) { return ado().stateOf(label_).value_or(open_ ? 1L : 0L); });
        property(L"DefaultDatabase", [this](const Arguments&) {
            requireOpen(true);
            return com::textVariant(ado().databaseOf(label_));
        });
        method(L"Open", [this](const Arguments& arguments) { return open(com::toText(arguments.at(0))); });
        method(L"Close", [this](const Arguments&) {
            requireOpen(true);
            open_ = false;
            return _variant_t();
        });
        for (const wchar_t* name : {L"BeginTrans", L"CommitTrans", L"RollbackTrans"})
            method(name, [this](const Arguments&) { return requireOpen(true); });
    }
    ~Connection() override { ado().note(L"release " + title()); }

    const std::wstring& label() const { return label_; }
    bool isOpen() const { return open_; }

private:
    _variant_t open(const std::wstring& connectionString)
    {
        requireOpen(false);
        const size_t first = connectionString.find(L"DSN=") + 4;
        label_ = connectionString.substr(first, connectionString.find(L';', first) - first);
        setTitle(L"Connection(" + label_ + L")");
        open_ = true;
        return {};
    }

    _variant_t requireOpen(bool open) const
    {
        if (open_ != open)
            throwAdoError(open ? 3704 : 3705);
        return {};
    }

    std::wstring label_;
    bool open_ = false;
};

class Command final : public RecordingObject
{
public:
    explicit Command(RecordingAdo& recorder) : RecordingObject(recorder, L"Command", 2200, L"Command")
    {
        stored(L"CommandTimeout", 30L);
        stored(L"Prepared", false);
        stored(L"CommandType", 8L);
        stored(L"CommandText", L"");
        property(
            L"ActiveConnection",
            [this](const Arguments&) { return _variant_t(static_cast<IDispatch*>(connection_.Get())); },
            [this](const _variant_t& value) { setActiveConnection(value); });
        method(L"CreateParameter", [this](const Arguments& arguments) { return createParameter(arguments); });
        method(L"Execute", [this](const Arguments& arguments) { return execute(arguments.at(0)); });
        addParameters();
    }
    ~Command() override { ado().note(L"release " + title()); }

    /// Sends the command and sets its output parameters.
    AdoAnswer run()
    {
        if (!connection_ || !connection_->isOpen())
            throwAdoError(3709);
        AdoAnswer answer = ado().run(connection_->label(), com::toText(value(L"CommandText")), sentText());
        for (const auto& [index, output] : answer.outputs)
            if (static_cast<size_t>(index) < parameters_.size())
                parameters_[static_cast<size_t>(index)]->value(L"Value") = output;
        return answer;
    }

private:
    void addParameters()
    {
        list_ = com::makeObject<RecordingObject>(ado(), L"Parameters", 4400, L"Command.Parameters");
        property(L"Parameters", [this](const Arguments&) { return _variant_t(static_cast<IDispatch*>(list_.Get())); });
        list_->property(L"Count", [this](const Arguments&) { return countOf(parameters_.size()); });
        list_->property(L"Item", [this](const Arguments& arguments) {
            const size_t place = placeOf(arguments.at(0), parameters_.size(), [this](size_t index) {
                return com::toText(parameters_[index]->value(L"Name"));
            });
            return _variant_t(static_cast<IDispatch*>(parameters_[place].Get()));
        });
        list_->method(L"Append", [this](const Arguments& arguments) {
            auto* parameter = objectIn<RecordingObject>(arguments.at(0));
            if (!parameter)
                throwAdoError(3001);
            parameters_.emplace_back(parameter);
            return _variant_t();
        });
    }

    _variant_t createParameter(const Arguments& arguments) const
    {
        auto* parameter = new RecordingObject(ado(), L"Parameter", 3300, L"Parameter(" + text(arguments.at(0)) + L")");
        const _variant_t made = ownedObject(parameter);
        size_t index = 0;
        for (const wchar_t* name : {L"Name", L"Type", L"Direction", L"Size", L"Value"})
            parameter->stored(name, arguments.at(index++));
        parameter->stored(L"Precision", 0L);
        parameter->stored(L"NumericScale", 0L);
        return made;
    }

    _variant_t execute(const VARIANT& affected)
    {
        AdoAnswer answer = run();
        if (affected.vt == (VT_BYREF | VT_I4))
            *affected.plVal = answer.affected;
        if (affected.vt == (VT_BYREF | VT_VARIANT))
            *static_cast<_variant_t*>(affected.pvarVal) = answer.affected;
        return ownedObject(newRecordset(ado(), std::move(answer.rows)));
    }

    void setActiveConnection(const VARIANT& given)
    {
        auto* connection = objectIn<Connection>(given);
        if (!connection && (given.vt != VT_DISPATCH || given.pdispVal))
            throwAdoError(3001);
        connection_ = connection;
        setTitle(connection ? L"Command(" + connection->label() + L")" : L"Command");
    }

    std::wstring sentText()
    {
        constexpr long kStoredProcedure = 4;
        const std::wstring command = com::toText(value(L"CommandText"));
        if (parameters_.empty() && com::toInt32(value(L"CommandType")) != kStoredProcedure)
            return command;
        std::wstring values;
        for (const auto& parameter : parameters_)
            values += (values.empty() ? L"" : L", ") + text(parameter->value(L"Value"));
        return command + L"(" + values + L")";
    }

    ComPtr<Connection> connection_;
    ComPtr<RecordingObject> list_;
    std::vector<ComPtr<RecordingObject>> parameters_;
};

/// The position of a recordset in its rows; its fields read there, too.
struct Cursor
{
    AdoRows rows;
    size_t position = 0;
    bool open = false;

    void requireOpen(bool expected = true) const
    {
        if (open != expected)
            throwAdoError(expected ? 3704 : 3705);
    }
    bool atEnd() const
    {
        requireOpen();
        return position >= rows.rows.size();
    }
    const std::vector<_variant_t>& row() const
    {
        if (atEnd())
            throwAdoError(3021);
        return rows.rows[position];
    }
};

class Recordset final : public RecordingObject
{
public:
    Recordset(RecordingAdo& recorder, AdoRows rows, bool isOpen)
        : RecordingObject(recorder, L"Recordset", 5500, L"Recordset")
    {
        cursor_->rows = std::move(rows);
        cursor_->open = isOpen;
        stored(L"CursorLocation", 2L);
        property(L"State", [this](const Arguments&) { return cursor_->open ? 1L : 0L; });
        property(L"EOF", [this](const Arguments&) { return cursor_->atEnd(); });
        property(L"Fields", [this](const Arguments&) { return newFields(); });
        method(L"Open", [this](const Arguments& arguments) { return open(arguments); });
        method(L"Close", [this](const Arguments&) {
            cursor_->requireOpen();
            cursor_->open = false;
            return _variant_t();
        });
        method(L"MoveNext", [this](const Arguments&) {
            cursor_->row();
            ++cursor_->position;
            return _variant_t();
        });
    }
    ~Recordset() override { ado().note(L"release Recordset"); }

private:
    _variant_t open(const Arguments& arguments)
    {
        cursor_->requireOpen(false);
        auto* command = objectIn<Command>(arguments.at(0));
        if (!command || !com::isMissing(arguments.at(1)))
            throwAdoError(3001);
        *cursor_ = {command->run().rows, 0, true};
        return {};
    }

    _variant_t newFields() const
    {
        auto* fields = new RecordingObject(ado(), L"Fields", 6600, L"Recordset.Fields");
        const auto count = [cursor = cursor_] { return cursor->open ? cursor->rows.columns.size() : 0; };
        fields->property(L"Count", [count](const Arguments&) { return countOf(count()); });
        fields->property(L"Item", [count, cursor = cursor_, &recorder = ado()](const Arguments& arguments) {
            const size_t place =
                placeOf(arguments.at(0), count(), [&](size_t index) { return cursor->rows.columns[index].name; });
            return newField(recorder, cursor, place);
        });
        return ownedObject(fields);
    }

    static _variant_t newField(RecordingAdo& recorder, const std::shared_ptr<Cursor>& cursor, size_t place)
    {
        const AdoColumn& column = cursor->rows.columns[place];
        auto* field = new RecordingObject(recorder, L"Field", 7700, L"Field(" + column.name + L")");
        field->stored(L"Name", com::textVariant(column.name));
        field->stored(L"Type", static_cast<long>(column.type));
        field->property(L"Value", [cursor, place](const Arguments&) { return cursor->row().at(place); });
        return ownedObject(field);
    }

    std::shared_ptr<Cursor> cursor_ = std::make_shared<Cursor>();
};

} // namespace

RecordingObject* newConnection(RecordingAdo& ado)
{
    return new Connection(ado);
}

RecordingObject* newCommand(RecordingAdo& ado)
{
    return new Command(ado);
}

RecordingObject* newRecordset(RecordingAdo& ado)
{
    return new Recordset(ado, {}, false);
}

RecordingObject* newRecordset(RecordingAdo& ado, AdoRows rows)
{
    return new Recordset(ado, std::move(rows), true);
}
