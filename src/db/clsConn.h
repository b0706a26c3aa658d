#pragma once

#include "ado/Command.h"
#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "com/error.h"
#include "com/module.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

/// The component's only door to a database: one ADO connection, counted transactions, SQL text, and stored procedures
/// with positional parameters. Lock type, cursor type and cursor location are ADO's own values.
///
/// An open connection keeps the module loaded until it is closed, replaced or abandoned, or seen to be closed: a host
/// may hold no object meanwhile, and only this module can close it.
///
/// Failures arrive as com::Error with the number and description of the database and the operation as source
/// ("clsConn.execute"); the transaction operations and `Parameters` pass them on as they are.
class clsConn
{
public:
    /// Opens a new connection on an ODBC data source with the component's own login, dropping any previous one.
    void openConnection(const std::wstring& sDSN, const std::wstring& sPassword);

    /// The wrapped connection; an empty one when none was opened.
    ado::Connection getConn() const { return conn; }

    /// Uses a connection opened elsewhere. The companion is only kept for as long as the connection is.
    void setConn(const ado::Connection& connection, const com::Dispatch& companion);

    /// ADO's state of the connection; that of a closed one when none was opened.
    long state();

    void closeConnection();

    /// Lets both objects go without releasing them, for a moment at which no COM call may be made.
    void abandon();

    /// Transactions nest by counting: only the outermost pair reaches the database. The depth is not guarded.
    void BeginTrans();
    void CommitTrans();
    void Rollback(bool bOnlyIfOpen);

    ado::Recordset execSqlRs(const std::wstring& sSql, long iLockType, long iCursorType, long iCursorLocation);
    ado::Recordset execSpRs(const std::wstring& sProcedure, long iLockType, long iCursorType, long iCursorLocation);
    ado::Recordset execPreparedRs(const std::wstring& sSql, long iLockType, long iCursorType, long iCursorLocation);

    /// Rows affected when `bReturnCount`, else 0. An empty text does nothing.
    long execute(const std::wstring& sSql, bool bReturnCount);

    void executeSP(const std::wstring& sProcedure);

    /// The text of the last output parameter; of parameter 0 when there is none. Raises 94 for Null.
    std::wstring executeSPReturn(const std::wstring& sProcedure);

    /// The texts of all output parameters, at most 10 (else 9), Null as an empty text.
    std::vector<std::wstring> executeSPReturnMultiple(const std::wstring& sProcedure);

    /// Fills one entry of the parameter table; index 0 clears the table first. Raises 9 for an index outside 0 to 50.
    /// An empty text is stored as Null, and so is a time stamp (135) of 1 January 1900 or of the zero date.
    void Parameters(short iIndex, short iType, short iDirection, const _variant_t& vValue,
                    const _variant_t& vSize = _variant_t(), short iScale = 0);
    void resetParms();

    /// A GUID's text in braces; an empty variant for an empty text.
    _variant_t addGuidBrackets(const _variant_t& vValue) const;

    /// The parameters of the last statement or procedure that failed, as an SQL literal after a comma; empty when it
    /// failed before there was a command. Later successes keep it, and so do failures to connect or to open a query.
    std::wstring retrieveCommandParms() const { return sLastParms; }

private:
    /// In seconds.
    static constexpr long kConnectTimeout = 20;
    static constexpr long kCommandTimeout = 300;

    /// One pending parameter; `iType` 0 marks the end of the list.
    struct Parm
    {
        short iType = 0;
        short iDirection = 0;
        short iSize = 0;
        _variant_t vValue;
        short iScale = 0;
    };

    ado::Recordset openRecordset(ado::Command& command, long iCursorType, long iLockType, long iCursorLocation);
    short getParmCount() const;
    std::wstring describeCommandParms(const ado::Command& command) const;
    [[noreturn]] void handleCommandError(const std::wstring& sSource, const com::Error& error,
                                         const ado::Command& command);

    /// Returns the result of `run` for a new command with the pending parameters; failures have the source `sSource`.
    template <class Run>
    auto withParameters(const wchar_t* sSource, long commandType, const std::wstring& text, bool prepared, Run run);
    /// Makes a new command in `command`, which a failure to set it up leaves there for the listing.
    void makeCommand(ado::Command& command, long commandType, const std::wstring& text, bool prepared) const;
    void bindParameters(ado::Command& command) const;
    std::vector<long> outputIndices() const;

    ado::Connection conn;
    std::optional<com::ModuleLock> moduleLock;
    com::Dispatch connCompanion;
    com::Class commandClass{ado::Command::kClass};
    com::Class recordsetClass{ado::Recordset::kClass};
    std::array<Parm, 51> aParms;
    short iTransLevel = 0;
    std::wstring sLastParms;
};
