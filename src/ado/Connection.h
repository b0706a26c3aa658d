#pragma once

#include "com/dispatch.h"

#include <string>

namespace ado {

/// ADO Connection. An empty one stands for "no object": using it raises 91. Failures throw com::Error.
class Connection
{
public:
    Connection() = default;
    explicit Connection(com::Dispatch object) : object_(std::move(object)) {}

    /// A new, closed connection object.
    static Connection create();

    /// Whether there is an object at all, open or not.
    explicit operator bool() const { return static_cast<bool>(object_); }
    const com::Dispatch& object() const { return object_; }

    /// Lets the object go without releasing it.
    void abandon() { object_.abandon(); }

    void setCursorLocation(long location);
    /// Seconds.
    void setConnectionTimeout(long seconds);
    /// Opens with the connection string alone: no user name, no password, no options.
    void open(const std::wstring& connectionString);
    void close();

    /// An ObjectState, or several.
    long state() const;
    /// Name of the current database.
    std::wstring defaultDatabase() const;

    void beginTrans();
    void commitTrans();
    void rollbackTrans();

private:
    com::Dispatch object_;
};

} // namespace ado
