#pragma once

#include "com/dispatch.h"

#include <string>
#include <tuple>

namespace ado {

class Command;

/// ADO Field: one column of a recordset; its value is that of the current row.
class Field
{
public:
    explicit Field(com::Dispatch object) : object_(std::move(object)) {}

    std::wstring name() const;
    /// The name without a further copy, as ADO gives it.
    _variant_t nameValue() const;
    _variant_t value() const;
    /// A DataType, or any other of ADO's types.
    long type() const;

private:
    com::Dispatch object_;
};

/// ADO Recordset, our own or one that a host hands in. An empty one stands for "no object": using it raises 91.
/// Failures throw com::Error. Its opener closes it, or its last reference does.
class Recordset
{
public:
    Recordset() = default;
    explicit Recordset(com::Dispatch object) : object_(std::move(object)) {}

    static constexpr wchar_t kClass[] = L"ADODB.Recordset";

    explicit operator bool() const { return static_cast<bool>(object_); }
    const com::Dispatch& object() const { return object_; }

    void setCursorLocation(long location);
    /// Opens on a command, which carries the connection.
    void open(const Command& source, long cursorType, long lockType);
    void close();

    bool eof() const;
    void moveNext();

    long fieldCount() const;
    Field field(long index) const;
    Field field(const std::wstring& name) const;
    /// The current row's value in the column `name`.
    _variant_t value(const std::wstring& name) const { return field(name).value(); }

private:
    const com::Dispatch& fields() const;

    com::Dispatch object_;
    mutable com::Dispatch fields_;
};

/// Calls `visit` with the columns `names`, each a Field, on every row of `rs` to its end, and closes it. The columns
/// are looked up once, and only when there is a row.
template <class Visit, class... Names>
void forEachRow(Recordset rs, Visit visit, const Names&... names)
{
    if (!rs.eof()) {
        const std::tuple fields{rs.field(names)...};
        do {
            std::apply(visit, fields);
            rs.moveNext();
        } while (!rs.eof());
    }
    rs.close();
}

} // namespace ado
