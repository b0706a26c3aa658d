#pragma once

#include <oaidl.h>
#include <string>
#include <string_view>
#include <vector>
#include <wrl/client.h>

/// ADO as a loop in C++ uses it that wants nothing but to be quick: dispatch ids are looked up once for each kind of
/// object, arguments lie on the stack, and a recordset's fields are fetched once. Connections and commands get the
/// properties that the component gives them. A failed call throws std::runtime_error.
namespace bare {

using Object = Microsoft::WRL::ComPtr<IDispatch>;

class Connection
{
public:
    Connection() = default;
    explicit Connection(std::wstring_view connectionString);

    void close();
    IDispatch* object() const { return object_.Get(); }

private:
    Object object_;
};

/// A forward-only, read-only recordset that is read in full.
class Recordset
{
public:
    Recordset() = default;
    Recordset(const Connection& connection, std::wstring_view text);

    bool atEnd() const;
    /// Every column of the current row, once.
    void readRow() const;
    void moveNext() const;
    void close() const;

private:
    Object object_;
    std::vector<Object> fields_;
};

/// A statement without rows.
void execute(const Connection& connection, std::wstring_view text);

/// The same; the number of rows concerned.
long executeCounted(const Connection& connection, std::wstring_view text);

} // namespace bare
