#include "command_text.h"

#include "ado_error.h"

namespace adodb {

namespace {

constexpr long kCommandTypeBits = 0x0F;
constexpr long kExecuteNoRecords = 0x80;

std::wstring callText(const std::wstring& procedure, std::span<ParameterData* const> parameters)
{
    std::wstring markers;
    bool returnsValue = false;
    for (const ParameterData* parameter : parameters) {
        if (parameter->direction == adParamReturnValue)
            returnsValue = true;
        else
            markers += markers.empty() ? L"?" : L", ?";
    }
    return (returnsValue ? L"{? = call " : L"{call ") + procedure + L'(' + markers + L")}";
}

} // namespace

std::wstring textOfCommand(const std::wstring& text, long options, std::span<ParameterData* const> parameters)
{
    if (text.empty())
        raiseAdoError(kArgumentsWrong, L"ADODB.Command");
    switch (options == adCmdUnspecified ? adCmdText : options & kCommandTypeBits) {
    case 0:
    case adCmdText:
    case adCmdUnknown:
        return text;
    case adCmdTable:
        return L"select * from " + text;
    case adCmdStoredProc:
        return callText(text, parameters);
    default:
        raiseAdoError(kArgumentsWrong, L"ADODB.Command");
    }
}

bool wantsNoRecords(long options) noexcept
{
    return options != adCmdUnspecified && (options & kExecuteNoRecords) != 0;
}

} // namespace adodb
