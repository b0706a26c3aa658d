#include "BareAdo.h"

#include "LateBound.h"

namespace bare {
namespace {

constexpr long kUseServer = 2;
constexpr long kConnectSeconds = 20;
constexpr long kCommandSeconds = 300;
constexpr long kText = 1;
constexpr long kUnspecified = -1;

struct CommandIds
{
    explicit CommandIds(IDispatch* command)
        : timeout(idOf(command, L"CommandTimeout")),
          connection(idOf(command, L"ActiveConnection")),
          type(idOf(command, L"CommandType")),
          text(idOf(command, L"CommandText")),
          execute(idOf(command, L"Execute"))
    {
    }

    DISPID timeout, connection, type, text, execute;
};

struct RecordsetIds
{
    explicit RecordsetIds(IDispatch* recordset)
        : eof(idOf(recordset, L"EOF")),
          moveNext(idOf(recordset, L"MoveNext")),
          close(idOf(recordset, L"Close")),
          fields(idOf(recordset, L"Fields"))
    {
    }

    DISPID eof, moveNext, close, fields;
};

const CommandIds& commandIds(IDispatch* command)
{
    static const CommandIds ids(command);
    return ids;
}

const RecordsetIds& recordsetIds(IDispatch* recordset)
{
    static const RecordsetIds ids(recordset);
    return ids;
}

Object makeCommand(const Connection& connection, std::wstring_view text)
{
    // Kept to the end of the process: COM is gone when static objects end.
    static IClassFactory& commands = *classObject(L"ADODB.Command").Detach();
    Object command = create(commands);
    const CommandIds& ids = commandIds(command.Get());
    VARIANT active;
    active.vt = VT_DISPATCH;
    active.pdispVal = connection.object();
    const Text sent(text);
    put(command.Get(), ids.timeout, number(kCommandSeconds));
    put(command.Get(), ids.connection, active, DISPATCH_PROPERTYPUTREF);
    put(command.Get(), ids.type, number(kText));
    put(command.Get(), ids.text, sent.value());
    return command;
}

/// Runs a command; its recordset is the caller's, or nobody's without `result`.
void run(const Object& command, VARIANT affected, VARIANT* result)
{
    VARIANT arguments[] = {number(kUnspecified), missing(), affected};
    call(command.Get(), commandIds(command.Get()).execute, arguments, result);
}

std::vector<Object> fieldsOf(IDispatch* recordset)
{
    const Object fields = taken(get(recordset, recordsetIds(recordset).fields));
    static const DISPID kCount = idOf(fields.Get(), L"Count");
    static const DISPID kItem = idOf(fields.Get(), L"Item");
    const long count = get(fields.Get(), kCount).lVal;
    std::vector<Object> list;
    list.reserve(static_cast<size_t>(count));
    for (long index = 0; index < count; ++index) {
        VARIANT which = number(index);
        list.push_back(taken(get(fields.Get(), kItem, &which)));
    }
    return list;
}

} // namespace

Connection::Connection(std::wstring_view connectionString) : object_(create(*classObject(L"ADODB.Connection").Get()))
{
    IDispatch* connection = object_.Get();
    put(connection, idOf(connection, L"CursorLocation"), number(kUseServer));
    put(connection, idOf(connection, L"ConnectionTimeout"), number(kConnectSeconds));
    const Text given(connectionString);
    const Text none(L"");
    VARIANT arguments[] = {number(kUnspecified), none.value(), none.value(), given.value()};
    call(connection, idOf(connection, L"Open"), arguments);
}

void Connection::close()
{
    if (object_)
        call(object_.Get(), idOf(object_.Get(), L"Close"));
    object_.Reset();
}

Recordset::Recordset(const Connection& connection, std::wstring_view text)
{
    VARIANT result;
    VariantInit(&result);
    run(makeCommand(connection, text), missing(), &result);
    object_ = taken(result);
    fields_ = fieldsOf(object_.Get());
}

bool Recordset::atEnd() const
{
    return get(object_.Get(), recordsetIds(object_.Get()).eof).boolVal != VARIANT_FALSE;
}

void Recordset::readRow() const
{
    static const DISPID kValue = idOf(fields_.front().Get(), L"Value");
    for (const Object& field : fields_) {
        VARIANT value = get(field.Get(), kValue);
        VariantClear(&value);
    }
}

void Recordset::moveNext() const
{
    call(object_.Get(), recordsetIds(object_.Get()).moveNext);
}

void Recordset::close() const
{
    call(object_.Get(), recordsetIds(object_.Get()).close);
}

void execute(const Connection& connection, std::wstring_view text)
{
    run(makeCommand(connection, text), missing(), nullptr);
}

long executeCounted(const Connection& connection, std::wstring_view text)
{
    long count = 0;
    VARIANT affected;
    affected.vt = VT_BYREF | VT_I4;
    affected.plVal = &count;
    run(makeCommand(connection, text), affected, nullptr);
    return count;
}

} // namespace bare
