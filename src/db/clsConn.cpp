#include "db/clsConn.h"

#include "ado/constants.h"
#include "control/RaiseError.h"

void clsConn::openConnection(const std::wstring& sDSN, const std::wstring& sPassword)
try {
    conn = ado::Connection::create();
    moduleLock.reset();
    conn.setCursorLocation(ado::adUseServer);
    conn.setConnectionTimeout(kConnectTimeout);
    conn.open(L"DSN=" + sDSN + L";UID=quinmarkapp_user;PWD=" + sPassword);
    moduleLock.emplace();
}
catch (...) {
    Common::reraise(L"clsConnopenConnection");
}

void clsConn::setConn(const ado::Connection& connection, const com::Dispatch& companion)
{
    conn = connection;
    connCompanion = companion;
    moduleLock.reset();
    if (conn)
        moduleLock.emplace();
}

long clsConn::state()
{
    const long state = conn ? getConn().state() : ado::adStateClosed;
    if (state == ado::adStateClosed)
        moduleLock.reset();
    return state;
}

void clsConn::closeConnection()
{
    getConn().close();
    moduleLock.reset();
}

void clsConn::abandon()
{
    if (moduleLock)
        moduleLock->abandon();
    moduleLock.reset();
    conn.abandon();
    connCompanion.abandon();
    commandClass.abandon();
    recordsetClass.abandon();
}

void clsConn::BeginTrans()
{
    if (iTransLevel < 1)
        conn.beginTrans();
    ++iTransLevel;
}

// The depth counts down even when the database refuses, in both of these.
void clsConn::CommitTrans()
{
    const bool outermost = iTransLevel < 2;
    --iTransLevel;
    if (outermost)
        conn.commitTrans();
}

void clsConn::Rollback(bool bOnlyIfOpen)
{
    if (bOnlyIfOpen && iTransLevel == 0)
        return;
    const bool outermost = iTransLevel < 2;
    --iTransLevel;
    if (outermost)
        conn.rollbackTrans();
}

ado::Recordset clsConn::execSqlRs(const std::wstring& sSql, long iLockType, long iCursorType, long iCursorLocation)
try {
    ado::Command command;
    makeCommand(command, ado::adCmdText, sSql, false);
    return openRecordset(command, iCursorType, iLockType, iCursorLocation);
}
catch (...) {
    Common::reraise(L"clsConn.execSqlRS");
}

long clsConn::execute(const std::wstring& sSql, bool bReturnCount)
{
    ado::Command command;
    try {
        if (sSql.empty())
            return 0;
        makeCommand(command, ado::adCmdText, sSql, false);
        if (bReturnCount)
            return command.executeCounted();
        command.execute();
        return 0;
    }
    catch (...) {
        handleCommandError(L"clsConn.execute", com::currentError(), command);
    }
}

ado::Recordset clsConn::openRecordset(ado::Command& command, long iCursorType, long iLockType, long iCursorLocation)
{
    ado::Recordset rs(recordsetClass.create());
    if (iCursorLocation == ado::adUseClient)
        rs.setCursorLocation(ado::adUseClient);
    if (iLockType > ado::adLockReadOnly)
        rs.open(command, ado::adOpenKeyset, iLockType);
    else if (iCursorType != ado::adOpenForwardOnly)
        rs.open(command, iCursorType, iLockType);
    else if (iTransLevel < 1)
        return command.execute();
    else
        rs.open(command, ado::adOpenKeyset, ado::adLockUnspecified);
    return rs;
}
