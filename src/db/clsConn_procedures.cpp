#include "ado/constants.h"
#include "com/convert.h"
#include "control/RaiseError.h"
#include "db/clsConn.h"
#include "db/sql_literals.h"

namespace {

constexpr long kScaledPrecision = 18;
constexpr size_t kMostOutputs = 10;

bool isOutput(short iDirection)
{
    return iDirection == ado::adParamOutput || iDirection == ado::adParamInputOutput;
}

} // namespace

template <class Run>
auto clsConn::withParameters(const wchar_t* sSource, long commandType, const std::wstring& text, bool prepared, Run run)
{
    ado::Command command;
    try {
        makeCommand(command, commandType, text, prepared);
        bindParameters(command);
        return run(command);
    }
    catch (...) {
        handleCommandError(sSource, com::currentError(), command);
    }
}

ado::Recordset clsConn::execSpRs(const std::wstring& sProcedure, long iLockType, long iCursorType, long iCursorLocation)
{
    return withParameters(L"clsConn.execSpRs", ado::adCmdStoredProc, sProcedure, true, [&](ado::Command& command) {
        return openRecordset(command, iCursorType, iLockType, iCursorLocation);
    });
}

ado::Recordset clsConn::execPreparedRs(const std::wstring& sSql, long iLockType, long iCursorType, long iCursorLocation)
{
    return withParameters(L"clsConn.execPreparedRs", ado::adCmdText, sSql, true, [&](ado::Command& command) {
        return openRecordset(command, iCursorType, iLockType, iCursorLocation);
    });
}

void clsConn::executeSP(const std::wstring& sProcedure)
{
    withParameters(L"clsConn.executeSP", ado::adCmdStoredProc, sProcedure, false,
                   [](ado::Command& command) { command.execute(); });
}

std::wstring clsConn::executeSPReturn(const std::wstring& sProcedure)
{
    return withParameters(L"clsConn.executeSPReturn", ado::adCmdStoredProc, sProcedure, false,
                          [&](ado::Command& command) {
                              const std::vector<long> outputs = outputIndices();
                              command.execute();
                              return com::toText(command.parameter(outputs.empty() ? 0 : outputs.back()).value());
                          });
}

std::vector<std::wstring> clsConn::executeSPReturnMultiple(const std::wstring& sProcedure)
{
    return withParameters(L"clsConn.executeSPReturnMultiple", ado::adCmdStoredProc, sProcedure, false,
                          [&](ado::Command& command) {
                              const std::vector<long> outputs = outputIndices();
                              if (outputs.size() > kMostOutputs)
                                  com::raiseRuntimeError(com::kSubscriptOutOfRange);
                              command.execute();
                              std::vector<std::wstring> texts;
                              for (const long index : outputs)
                                  texts.push_back(com::concatText(command.parameter(index).value()));
                              return texts;
                          });
}

void clsConn::makeCommand(ado::Command& command, long commandType, const std::wstring& text, bool prepared) const
{
    command = ado::Command(commandClass.create());
    command.setCommandTimeout(kCommandTimeout);
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
