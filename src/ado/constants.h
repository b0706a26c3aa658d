#pragma once

/// The enumeration values of ADO that are used, under ADO's own names.
namespace ado {

enum ObjectState : long
{
    adStateClosed = 0,
    adStateOpen = 1,
};

enum CursorType : long
{
    adOpenForwardOnly = 0,
    adOpenKeyset = 1,
};

enum LockType : long
{
    adLockUnspecified = -1,
    adLockReadOnly = 1,
};

enum CursorLocation : long
{
    adUseServer = 2,
    adUseClient = 3,
};

enum CommandType : long
{
    adCmdText = 1,
    adCmdStoredProc = 4,
};

enum Option : long
{
    adOptionUnspecified = -1,
};

enum ParameterDirection : short
{
    adParamInput = 1,
    adParamOutput = 2,
    adParamInputOutput = 3,
};

enum DataType : short
{
    adSmallInt = 2,
    adInteger = 3,
    adDouble = 5,
    adCurrency = 6,
    adBoolean = 11,
    adTinyInt = 16,
    adGUID = 72,
    adChar = 129,
    adDBTimeStamp = 135,
    adVarChar = 200,
};

} // namespace ado
