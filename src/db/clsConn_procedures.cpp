#include "ado/constants.h"
#include "com/convert.h"
#include "control/RaiseError.h"
#include "db/clsConn.h"
#include "db/sql_literals.h"

namespace {

constexpr long kCommandTimeoutSeconds = 300;
constexpr long kScaledPrecision = 18;
constexpr size_t kMostOutputs = 10;

bool isOutput(short iDirection)
{
    return iDirection == ado::adParamOutput || iDirection == ado::adParamInputOutput;
}

} // namespace

ado::Recordset clsConn::execSpRs(const std::wstring& sProcedure, long iLockType, long iCursorType, long iCursorLocation)
{
    ado::Command command;
    try {
        makeCommand(command, ado::adCmdStoredProc, sProcedure, true);
        bindParameters(command);
        return openRecordset(command, iCursorType, iLockType, iCursorLocation);
    }
    catch (...) {
        handleCommandError(L"clsConn.execSpRs", com::currentError(), command);
    }
}

ado::Recordset clsConn::execPreparedRs(const std::wstring& sSql, long iLockType, long iCursorType, long iCursorLocation)
{
    ado::Command command;
    try {
        makeCommand(command, ado::adCmdText, sSql, true);
        bindParameters(command);
        return openRecordset(command, iCursorType, iLockType, iCursorLocation);
    }
    catch (...) {
        handleCommandError(L"clsConn.execPreparedRs", com::currentError(), command);
    }
}

void clsConn::executeSP(const std::wstring& sProcedure)
{
    ado::Command command;
    try {
        makeCommand(command, ado::adCmdStoredProc, sProcedure, false);
        bindParameters(command);
        command.execute();
    }
    catch (...) {
        handleCommandError(L"clsConn.executeSP", com::currentError(), command);
    }
}

std::wstring clsConn::executeSPReturn(const std::wstring& sProcedure)
{
    ado::Command command;
    try {
        makeCommand(command, ado::adCmdStoredProc, sProcedure, false);
        bindParameters(command);
        const std::vector<long> outputs = outputIndices();
        command.execute();
        return com::toText(command.parameter(outputs.empty() ? 0 : outputs.back()).value());
    }
    catch (...) {
        handleCommandError(L"clsConn.executeSPReturn", com::currentError(), command);
    }
}

std::vector<std::wstring> clsConn::executeSPReturnMultiple(const std::wstring& sProcedure)
{
    ado::Command command;
    try {
        makeCommand(command, ado::adCmdStoredProc, sProcedure, false);
        bindParameters(command);
        const std::vector<long> outputs = outputIndices();
        if (outputs.size() > kMostOutputs)
            com::raiseRuntimeError(com::kSubscriptOutOfRange);
        command.execute();
        std::vector<std::wstring> texts;
        for (const long index : outputs)
            texts.push_back(com::concatText(command.parameter(index).value()));
        return texts;
    }
    catch (...) {
        handleCommandError(L"clsConn.executeSPReturnMultiple", com::currentError(), command);
    }
}

void clsConn::makeCommand(ado::Command& command, long commandType, const std::wstring& text, bool prepared) const
{
    command = ado::Command(commandClass.create());
    command.setCommandTimeout(kCommandTimeoutSeconds);
    if (prepared)
        command.setPrepared(true);
    command.setActiveConnection(conn);
    command.setCommandType(commandType);
    command.setCommandText(text);
}

void clsConn::bindParameters(ado::Command& command) const
{
    const short last = getParmCount();
    for (short index = 0; index <= last; ++index) {
        const Parm& parm = aParms[static_cast<size_t>(index)];
        const long size = parm.iSize > 0 ? parm.iSize : 0;
        ado::Parameter parameter =
            command.createParameter({std::to_wstring(index), parm.iType, parm.iDirection, size, parm.vValue});
        command.appendParameter(parameter);
        if (parm.iScale > 0) {
            parameter.setPrecision(kScaledPrecision);
            parameter.setNumericScale(parm.iScale);
        }
    }
}

std::vector<long> clsConn::outputIndices() const
{
    std::vector<long> indices;
    const short last = getParmCount();
    for (short index = 0; index <= last; ++index)
        if (isOutput(aParms[static_cast<size_t>(index)].iDirection))
            indices.push_back(index);
    return indices;
}

std::wstring clsConn::describeCommandParms(const ado::Command& command) const
try {
    std::wstring listing;
    const long count = command.parameterCount();
    for (long index = 0; index < count; ++index) {
        if (index > 0)
            listing += L"; ";
        listing += L"P(" + std::to_wstring(index) + L"):" + com::concatText(command.parameter(index).value());
    }
    return L"," + Common::SqlQuote(count > 0 ? listing : L"No Parms", false, false);
}
catch (...) {
    return L"," + Common::SqlQuote(L"Error Getting Parms: " + com::currentError().description, false, false);
}

void clsConn::handleCommandError(const std::wstring& sSource, const com::Error& error, const ado::Command& command)
{
    sLastParms = command ? describeCommandParms(command) : std::wstring();
    Common::RaiseError(sSource, error.number, error.description);
}
