#pragma once

#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "com/dispatch.h"

#include <string>

namespace ado {

/// The properties from which a command's parameter is created.
struct ParameterSpec
{
    std::wstring name;
    short type;
    short direction;
    long size;
    _variant_t value;
};

/// ADO Parameter.
class Parameter
{
public:
    explicit Parameter(com::Dispatch object) : object_(std::move(object)) {}

    const com::Dispatch& object() const { return object_; }
    _variant_t value() const;
    void setPrecision(long precision);
    void setNumericScale(long scale);

private:
    com::Dispatch object_;
};

/// ADO Command. An empty one stands for "no object". Failures throw com::Error.
class Command
{
public:
    Command() = default;
    explicit Command(com::Dispatch object) : object_(std::move(object)) {}

    static constexpr wchar_t kClass[] = L"ADODB.Command";

    explicit operator bool() const { return static_cast<bool>(object_); }
    const com::Dispatch& object() const { return object_; }

    /// Seconds.
    void setCommandTimeout(long seconds);
    void setPrepared(bool prepared);
    void setActiveConnection(const Connection& connection);
    void setCommandType(long type);
    void setCommandText(const std::wstring& text);

    Parameter createParameter(const ParameterSpec& spec) const;
    void appendParameter(const Parameter& parameter);
    long parameterCount() const;
    Parameter parameter(long index) const;

    /// Runs the command; the result is its forward-only recordset, or a closed one.
    Recordset execute();
    /// Runs the command and returns the number of rows affected.
    long executeCounted();

private:
    const com::Dispatch& parameters() const;

    com::Dispatch object_;
    mutable com::Dispatch parameters_;
};

} // namespace ado
