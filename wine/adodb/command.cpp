#include "command.h"

#include "ado_error.h"
#include "com/convert.h"
#include "command_text.h"
#include "parameters.h"
#include "recordset.h"

#include <array>

namespace adodb {

namespace {

constexpr wchar_t kCommandSource[] = L"ADODB.Command";

} // namespace

std::span<const Member> Command::members() const noexcept
{
    static constexpr std::array kMembers{
        Member{L"Parameters", DISPID_VALUE, kGetPut, call<&Command::invokeParameters>, L"Item"},
        Member{L"ActiveConnection", 1, kGetPut, call<&Command::invokeActiveConnection>},
        Member{L"CommandText", 2, kGetPut, call<&Command::invokeCommandText>},
        Member{L"CommandTimeout", 3, kGetPut, call<&Command::invokeCommandTimeout>},
        Member{L"Prepared", 4, kGetPut, call<&Command::invokePrepared>},
        Member{L"Execute", 5, kMethod, call<&Command::invokeExecute>, L"RecordsAffected Parameters Options"},
        Member{L"CreateParameter", 6, kMethod, call<&Command::invokeCreateParameter>,
               L"Name Type Direction Size Value"},
        Member{L"CommandType", 7, kGetPut, call<&Command::invokeCommandType>},
        Member{L"Name", 8, kGetPut, call<&Command::invokeName>},
        Member{L"State", 9, kGet, call<&Command::invokeState>},
    };
    return kMembers;
}

void* Command::find(REFIID interfaceId) noexcept
{
    return interfaceId == kClassId ? this : DispatchObject::find(interfaceId);
}

void Command::invokeActiveConnection(Call& call)
{
    if (call.isPut())
        connection_ = connectionOf(call.newValue());
    else
        call.returns(connection_.Get());
}

void Command::invokeState(Call& call)
{
    call.returns(_variant_t(0L, VT_I4));
}

void Command::invokeCreateParameter(Call& call)
{
    ParameterData data;
    data.name = call.text(0);
    data.type = call.number(1, adEmpty);
    data.direction = call.number(2, adParamInput);
    data.size = call.number(3, 0);
    const auto parameter = com::makeObject<Parameter>(std::move(data));
    if (call.has(4))
        parameter->setValue(call.argument(4));
    call.returns(parameter.Get());
}

void Command::invokeParameters(Call& call)
{
    const auto parameters = com::makeObject<Parameters>(this);
    if (call.has(0))
        parameters->invokeItem(call);
    else if (call.isPut())
        raiseAdoError(kArgumentsWrong, kCommandSource);
    else
        call.returns(parameters.Get());
}

void Command::takeValues(const VARIANT& values)
{
    if (!(V_VT(&values) & VT_ARRAY)) {
        if (!parameters_.empty())
            parameters_.front()->setValue(values);
        return;
    }
    SAFEARRAY* array = V_ARRAY(&values);
    long lower = 0;
    long upper = -1;
    com::check(SafeArrayGetLBound(array, 1, &lower));
    com::check(SafeArrayGetUBound(array, 1, &upper));
    if (V_VT(&values) != (VT_ARRAY | VT_VARIANT) || upper - lower >= static_cast<long>(parameters_.size()))
        raiseAdoError(kArgumentsWrong, kCommandSource);
    for (long index = lower; index <= upper; ++index) {
        _variant_t value;
        com::check(SafeArrayGetElement(array, &index, &value));
        if (V_VT(&value) != VT_EMPTY)
            parameters_[static_cast<size_t>(index - lower)]->setValue(value);
    }
}

long Command::executeInto(Recordset& recordset, long options)
{
    if (!connection_ || !connection_->isOpen())
        raiseAdoError(kInvalidConnection, kCommandSource);
    std::vector<ParameterData*> parameters;
    for (const auto& parameter : parameters_)
        parameters.push_back(&parameter->data());
    Request request;
    request.text = textOfCommand(commandText_, options == adCmdUnspecified ? commandType_ : options, parameters);
    request.parameters = parameters;
    request.timeout = commandTimeout_;
    request.prepared = prepared_;
    return recordset.execute(connection_.Get(), std::move(request));
}

void Command::invokeExecute(Call& call)
{
    if (call.has(1))
        takeValues(call.argument(1));
    const long options = call.number(2, adCmdUnspecified);
    const auto recordset = com::makeObject<Recordset>();
    const long rows = executeInto(*recordset.Get(), options);
    call.writeBack(0, _variant_t(rows, VT_I4));
    call.returns(wantsNoRecords(options) ? nullptr : recordset.Get());
}

} // namespace adodb
