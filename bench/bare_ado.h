#pragma once

#include <comdef.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>
#include <wrl/client.h>

/// ADO for a loop in C++ that has to be as quick as possible: dispatch ids are looked up once for each kind of object,
/// arguments lie on the stack, and a recordset's fields are fetched once. Connections and commands get the properties
/// that the component gives them. A failed call throws std::runtime_error.
namespace bare {

using Object = Microsoft::WRL::ComPtr<IDispatch>;

inline void check(HRESULT code)
{
    if (FAILED(code))
        throw std::runtime_error("a call into ADO failed: " + std::to_string(code));
}

inline DISPID idOf(const Object& object, const wchar_t* member)
{
    LPOLESTR name = const_cast<LPOLESTR>(member);
    DISPID id = DISPID_UNKNOWN;
    check(object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id));
    return id;
}

inline VARIANT number(long value)
{
    VARIANT variant;
    variant.vt = VT_I4;
    variant.lVal = value;
    return variant;
}

inline VARIANT missing()
{
    VARIANT variant;
    variant.vt = VT_ERROR;
    variant.scode = DISP_E_PARAMNOTFOUND;
    return variant;
}

inline _variant_t text(std::wstring_view characters)
{
    _variant_t value;
    value.bstrVal = SysAllocStringLen(characters.data(), static_cast<UINT>(characters.size()));
    value.vt = VT_BSTR;
    return value;
}

/// `arguments` run backwards, as Invoke wants them.
inline void call(const Object& object, DISPID id, VARIANT* arguments = nullptr, UINT count = 0,
                 VARIANT* result = nullptr)
{
    DISPPARAMS params{arguments, nullptr, count, 0};
    check(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, result, nullptr, nullptr));
}

inline void put(const Object& object, DISPID id, VARIANT value, WORD flags = DISPATCH_PROPERTYPUT)
{
    DISPID name = DISPID_PROPERTYPUT;
    DISPPARAMS params{&value, &name, 1, 1};
    check(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, nullptr, nullptr, nullptr));
}

/// The caller owns the value.
inline VARIANT get(const Object& object, DISPID id, VARIANT* index = nullptr)
{
    VARIANT result;
    VariantInit(&result);
    DISPPARAMS params{index, nullptr, index ? 1U : 0U, 0};
    check(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &params, &result, nullptr, nullptr));
    return result;
}

/// The object in a value that the caller owns; the value is used up.
inline Object taken(const VARIANT& value)
{
    Object object;
    if (value.vt != VT_DISPATCH)
        throw std::runtime_error("ADO has returned no object");
    *object.GetAddressOf() = value.pdispVal;
    return object;
}

/// Lasts to the end of the process: COM is gone when static objects end.
inline IClassFactory& classObject(const wchar_t* progId)
{
    CLSID id;
    check(CLSIDFromProgID(progId, &id));
    IClassFactory* factory = nullptr;
    check(CoGetClassObject(id, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory)));
    return *factory;
}

inline Object create(IClassFactory& factory)
{
    Object object;
    check(factory.CreateInstance(nullptr, IID_PPV_ARGS(&object)));
    return object;
}

class Connection
{
public:
    Connection() = default;
    explicit Connection(std::wstring_view connectionString) : object_(create(classObject(L"ADODB.Connection")))
    {
        constexpr long kUseServer = 2;
        constexpr long kSeconds = 20;
        constexpr long kUnspecified = -1;
        put(object_, idOf(object_, L"CursorLocation"), number(kUseServer));
        put(object_, idOf(object_, L"ConnectionTimeout"), number(kSeconds));
        const _variant_t given = text(connectionString);
        const _variant_t none = text(L"");
        VARIANT arguments[] = {number(kUnspecified), none, none, given};
        call(object_, idOf(object_, L"Open"), arguments, 4);
    }

    void close()
    {
        if (object_)
            call(object_, idOf(object_, L"Close"));
        object_.Reset();
    }

    /// Makes a command and runs it; its recordset is the caller's, or nobody's without `result`.
    void execute(std::wstring_view statement, VARIANT* result = nullptr) const
    {
        constexpr long kUnspecified = -1;
        const Object command = makeCommand(statement);
        static const DISPID kExecute = idOf(command, L"Execute");
        VARIANT arguments[] = {number(kUnspecified), missing(), missing()};
        call(command, kExecute, arguments, 3, result);
    }

private:
    Object makeCommand(std::wstring_view statement) const
    {
        constexpr long kSeconds = 300;
        constexpr long kIsText = 1;
        static IClassFactory& commands = classObject(L"ADODB.Command");
        Object command = create(commands);
        static const DISPID kTimeout = idOf(command, L"CommandTimeout");
        static const DISPID kConnection = idOf(command, L"ActiveConnection");
        static const DISPID kType = idOf(command, L"CommandType");
        static const DISPID kText = idOf(command, L"CommandText");
        VARIANT connection;
        connection.vt = VT_DISPATCH;
        connection.pdispVal = object_.Get();
        put(command, kTimeout, number(kSeconds));
        put(command, kConnection, connection, DISPATCH_PROPERTYPUTREF);
        put(command, kType, number(kIsText));
        put(command, kText, text(statement));
        return command;
    }

    Object object_;
};

/// A forward-only, read-only recordset that is read in full.
class Recordset
{
public:
    Recordset() = default;
    Recordset(const Connection& connection, std::wstring_view query)
    {
        VARIANT result;
        VariantInit(&result);
        connection.execute(query, &result);
        object_ = taken(result);
        static const DISPID kFields = idOf(object_, L"Fields");
        const Object fields = taken(get(object_, kFields));
        static const DISPID kCount = idOf(fields, L"Count");
        static const DISPID kItem = idOf(fields, L"Item");
        const long count = get(fields, kCount).lVal;
        fields_.reserve(static_cast<size_t>(count));
        for (long index = 0; index < count; ++index) {
            VARIANT which = number(index);
            fields_.push_back(taken(get(fields, kItem, &which)));
        }
    }

    bool atEnd() const
    {
        static const DISPID kEof = idOf(object_, L"EOF");
        return get(object_, kEof).boolVal != VARIANT_FALSE;
    }

    /// Every column of the current row, once.
    void readRow() const
    {
        static const DISPID kValue = idOf(fields_.front(), L"Value");
        for (const Object& field : fields_) {
            VARIANT value = get(field, kValue);
            VariantClear(&value);
        }
    }

    void moveNext() const
    {
        static const DISPID kMoveNext = idOf(object_, L"MoveNext");
        call(object_, kMoveNext);
    }

    void close() const
    {
        static const DISPID kClose = idOf(object_, L"Close");
        call(object_, kClose);
    }

private:
    Object object_;
    std::vector<Object> fields_;
};

} // namespace bare
