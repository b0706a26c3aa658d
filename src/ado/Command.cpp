#include "ado/Command.h"

#include "ado/constants.h"
#include "com/convert.h"

namespace ado {

namespace {

constexpr wchar_t kCreateParameter[] = L"CreateParameter";
constexpr wchar_t kExecute[] = L"Execute";
constexpr wchar_t kParameters[] = L"Parameters";
constexpr wchar_t kParameter[] = L"Item";

} // namespace

_variant_t Parameter::value() const
{
    return object_.property(L"Value");
}

void Parameter::setPrecision(long precision)
{
    object_.put(L"Precision", precision);
}

void Parameter::setNumericScale(long scale)
{
    object_.put(L"NumericScale", scale);
}

void Command::setCommandTimeout(long seconds)
{
    object_.put(L"CommandTimeout", seconds);
}

void Command::setPrepared(bool prepared)
{
    object_.put(L"Prepared", prepared);
}

void Command::setActiveConnection(const Connection& connection)
{
    object_.putReference(L"ActiveConnection", connection.object());
}

void Command::setCommandType(long type)
{
    object_.put(L"CommandType", type);
}

void Command::setCommandText(const std::wstring& text)
{
    object_.put(L"CommandText", com::textVariant(text));
}

Parameter Command::createParameter(const ParameterSpec& spec) const
{
    return Parameter(object_.resultOf(
        kCreateParameter, object_.call(kCreateParameter, {com::textVariant(spec.name), static_cast<long>(spec.type),
                                                          static_cast<long>(spec.direction), spec.size, spec.value})));
}

void Command::appendParameter(const Parameter& parameter)
{
    parameters().call(L"Append", {_variant_t(parameter.object().get())});
}

long Command::parameterCount() const
{
    return com::toInt32(parameters().property(L"Count"));
}

Parameter Command::parameter(long index) const
{
    return Parameter(parameters().resultOf(kParameter, parameters().property(kParameter, {index})));
}

Recordset Command::execute()
{
    const _variant_t result =
        object_.call(kExecute, {com::missing(), com::missing(), static_cast<long>(adOptionUnspecified)});
    const bool hasRows = result.vt == VT_DISPATCH && result.pdispVal;
    return hasRows ? Recordset(object_.resultOf(kExecute, result)) : Recordset();
}

long Command::executeCounted()
{
    long affected = 0;
    _variant_t reference;
    reference.vt = VT_BYREF | VT_I4;
    reference.plVal = &affected;
    object_.call(kExecute, {reference, com::missing(), static_cast<long>(adOptionUnspecified)});
    return affected;
}

const com::Dispatch& Command::parameters() const
{
    if (!parameters_)
        parameters_ = object_.resultOf(kParameters, object_.property(kParameters));
    return parameters_;
}

} // namespace ado
