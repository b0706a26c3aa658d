// Sends a trace through ODBC as a C programmer would who wants it fast: each connection has one statement handle that
// is used again and again, columns of bounded length are bound, long ones are read with SQLGetData, and a statement
// that runs while another result of its side is being read gets a further connection, which is kept.
#include "odbc_trace.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

enum
{
    kMostColumns = 128,
    kMostConnections = 8,
    kMostResults = 64,
    kLongestBound = 2000, // bytes or characters; longer columns are read with SQLGetData
    kPieceBytes = 4096,
    kBlockRows = 100, // rows for each fetch of a result whose columns are all bound
    kMostBlockBytes = 64 * 1024,
    kTimeoutSeconds = 30 // ADO's, so that both set the same
};

struct Column
{
    SQLSMALLINT cType;
    size_t width; // bytes of one bound value; 0 for a column that is read in pieces
    char* values;
    SQLLEN lengths[kBlockRows];
};

/// A connection with its statement handle and the result that is read through it.
struct Cursor
{
    SQLHDBC connection;
    SQLHSTMT statement;
    int busy;
    SQLSMALLINT columnCount;
    struct Column columns[kMostColumns];
    char* block;
    size_t blockBytes;
    SQLULEN blockRows;
    SQLULEN fetchedRows;
    SQLULEN row;
};

struct Side
{
    wchar_t* connectionString;
    struct Cursor* cursors[kMostConnections];
    int cursorCount;
};

static SQLHENV environment;
static struct Side sides[2];
static struct Cursor* results[kMostResults]; // by id; null for one that is at its end
static unsigned long statements;
static unsigned long rows;
static unsigned long bytes;

static void check(SQLRETURN rc, SQLSMALLINT kind, SQLHANDLE handle, const char* call)
{
    if (SQL_SUCCEEDED(rc) || rc == SQL_NO_DATA)
        return;
    wchar_t state[6] = L"";
    wchar_t text[512] = L"";
    SQLINTEGER native = 0;
    SQLGetDiagRecW(kind, handle, 1, state, &native, text, (SQLSMALLINT)(sizeof text / sizeof *text), NULL);
    fail("%s: %ls %ls", call, state, text);
}

static void checkStatement(SQLRETURN rc, const struct Cursor* cursor, const char* call)
{
    check(rc, SQL_HANDLE_STMT, cursor->statement, call);
}

static void set(const struct Cursor* cursor, SQLINTEGER attribute, SQLULEN value)
{
    checkStatement(SQLSetStmtAttrW(cursor->statement, attribute, (SQLPOINTER)value, 0), cursor, "SQLSetStmtAttr");
}

static struct Cursor* newCursor(wchar_t* connectionString)
{
    struct Cursor* cursor = allocate(1, sizeof *cursor);
    check(SQLAllocHandle(SQL_HANDLE_DBC, environment, &cursor->connection), SQL_HANDLE_ENV, environment,
          "SQLAllocHandle");
    check(SQLDriverConnectW(cursor->connection, NULL, connectionString, SQL_NTS, NULL, 0, NULL, SQL_DRIVER_NOPROMPT),
          SQL_HANDLE_DBC, cursor->connection, "SQLDriverConnect");
    check(SQLAllocHandle(SQL_HANDLE_STMT, cursor->connection, &cursor->statement), SQL_HANDLE_DBC, cursor->connection,
          "SQLAllocHandle");
    cursor->blockRows = 1;
    set(cursor, SQL_ATTR_QUERY_TIMEOUT, kTimeoutSeconds);
    set(cursor, SQL_ATTR_ROWS_FETCHED_PTR, (SQLULEN)&cursor->fetchedRows);
    return cursor;
}

static struct Side* sideOf(const struct TraceRecord* record)
{
    return &sides[record->side == 'D'];
}

/// A connection of the side that reads no result.
static struct Cursor* freeCursor(struct Side* side)
{
    for (int index = 0; index < side->cursorCount; ++index)
        if (!side->cursors[index]->busy)
            return side->cursors[index];
    if (side->cursorCount == kMostConnections)
        fail("too many results are open at once");
    struct Cursor* cursor = newCursor(side->connectionString);
    side->cursors[side->cursorCount++] = cursor;
    return cursor;
}

static void connect(const struct TraceRecord* record)
{
    struct Side* side = sideOf(record);
    side->connectionString = record->text;
    if (side->cursorCount == 0)
        freeCursor(side);
}

/// The C type that a column is read as, and the bytes of a value; no bytes when it is read in pieces.
static void chooseType(struct Column* column, SQLSMALLINT sqlType, SQLULEN size)
{
    const size_t text = size && size <= kLongestBound ? (2 * size + 1) * sizeof(SQLWCHAR) : 0;
    const size_t binary = size <= kLongestBound ? size : 0;
    switch (sqlType) {
#define FIXED(sql, c, type)                                                                                            \
    case sql:                                                                                                          \
        column->cType = c;                                                                                             \
        column->width = sizeof(type);                                                                                  \
        break
        FIXED(SQL_BIT, SQL_C_BIT, SQLCHAR);
        FIXED(SQL_TINYINT, SQL_C_UTINYINT, SQLCHAR);
        FIXED(SQL_SMALLINT, SQL_C_SSHORT, SQLSMALLINT);
        FIXED(SQL_INTEGER, SQL_C_SLONG, SQLINTEGER);
        FIXED(SQL_BIGINT, SQL_C_SBIGINT, SQLBIGINT);
        FIXED(SQL_REAL, SQL_C_FLOAT, SQLREAL);
        FIXED(SQL_FLOAT, SQL_C_DOUBLE, SQLDOUBLE);
        FIXED(SQL_DOUBLE, SQL_C_DOUBLE, SQLDOUBLE);
        FIXED(SQL_GUID, SQL_C_GUID, SQLGUID);
        FIXED(SQL_TYPE_DATE, SQL_C_TYPE_DATE, SQL_DATE_STRUCT);
        FIXED(SQL_TYPE_TIME, SQL_C_TYPE_TIME, SQL_TIME_STRUCT);
        FIXED(SQL_TYPE_TIMESTAMP, SQL_C_TYPE_TIMESTAMP, SQL_TIMESTAMP_STRUCT);
        FIXED(SQL_NUMERIC, SQL_C_CHAR, char[64]);
        FIXED(SQL_DECIMAL, SQL_C_CHAR, char[64]);
#undef FIXED
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
        column->cType = SQL_C_BINARY;
        column->width = sqlType == SQL_LONGVARBINARY ? 0 : binary;
        break;
    default:
        column->cType = SQL_C_WCHAR;
        column->width = sqlType == SQL_WLONGVARCHAR || sqlType == SQL_LONGVARCHAR ? 0 : text;
    }
}

static void describeColumns(struct Cursor* cursor)
{
    if (cursor->columnCount > kMostColumns)
        fail("too many columns");
    for (SQLSMALLINT number = 1; number <= cursor->columnCount; ++number) {
        SQLWCHAR name[128];
        SQLSMALLINT nameLength, sqlType, digits, nullable;
        SQLULEN size;
        checkStatement(SQLDescribeColW(cursor->statement, (SQLUSMALLINT)number, name, 128, &nameLength, &sqlType, &size,
                                       &digits, &nullable),
                       cursor, "SQLDescribeCol");
        chooseType(&cursor->columns[number - 1], sqlType, size);
    }
}

static void setBlockRows(struct Cursor* cursor)
{
    size_t rowBytes = 0;
    int allBound = 1;
    for (SQLSMALLINT index = 0; index < cursor->columnCount; ++index) {
        rowBytes += cursor->columns[index].width;
        allBound = allBound && cursor->columns[index].width;
    }
    SQLULEN count = allBound ? kMostBlockBytes / rowBytes : 1;
    count = count > kBlockRows ? kBlockRows : count ? count : 1;
    if (count != cursor->blockRows)
        set(cursor, SQL_ATTR_ROW_ARRAY_SIZE, count);
    cursor->blockRows = count;
    if (rowBytes * count > cursor->blockBytes) {
        free(cursor->block);
        cursor->blockBytes = rowBytes * count;
        cursor->block = allocate(cursor->blockBytes, 1);
    }
}

static void bindColumns(struct Cursor* cursor)
{
    char* at = cursor->block;
    SQLFreeStmt(cursor->statement, SQL_UNBIND);
    for (SQLSMALLINT index = 0; index < cursor->columnCount; ++index) {
        struct Column* column = &cursor->columns[index];
        column->values = at;
        at += column->width * cursor->blockRows;
        if (column->width)
            checkStatement(SQLBindCol(cursor->statement, (SQLUSMALLINT)(index + 1), column->cType, column->values,
                                      (SQLLEN)column->width, column->lengths),
                           cursor, "SQLBindCol");
    }
}

static void finish(struct Cursor* cursor)
{
    SQLFreeStmt(cursor->statement, SQL_CLOSE);
    cursor->busy = 0;
}

/// Goes to the next row; behind the last one the cursor is free for another statement, and the result is 0.
static int fetch(struct Cursor* cursor)
{
    if (++cursor->row < cursor->fetchedRows)
        return 1;
    const SQLRETURN rc = SQLFetch(cursor->statement);
    checkStatement(rc, cursor, "SQLFetch");
    cursor->row = 0;
    if (rc != SQL_NO_DATA)
        return 1;
    finish(cursor);
    return 0;
}

/// Reads a long value piece by piece.
static void readPieces(const struct Cursor* cursor, SQLUSMALLINT number, SQLSMALLINT cType)
{
    char piece[kPieceBytes];
    SQLLEN length = 0;
    for (;;) {
        const SQLRETURN rc = SQLGetData(cursor->statement, number, cType, piece, sizeof piece, &length);
        checkStatement(rc, cursor, "SQLGetData");
        if (rc == SQL_NO_DATA || length == SQL_NULL_DATA)
            return;
        bytes += (unsigned char)piece[0];
        if (rc == SQL_SUCCESS)
            return;
    }
}

/// Looks at every value of the current row.
static void readRow(const struct Cursor* cursor)
{
    ++rows;
    for (SQLSMALLINT index = 0; index < cursor->columnCount; ++index) {
        const struct Column* column = &cursor->columns[index];
        if (!column->width)
            readPieces(cursor, (SQLUSMALLINT)(index + 1), column->cType);
        else if (column->lengths[cursor->row] != SQL_NULL_DATA)
            bytes += (unsigned char)column->values[cursor->row * column->width];
    }
}

static void run(struct Cursor* cursor, wchar_t* text)
{
    ++statements;
    checkStatement(SQLExecDirectW(cursor->statement, text, SQL_NTS), cursor, "SQLExecDirect");
}

static void openResult(const struct TraceRecord* record)
{
    struct Cursor* cursor = freeCursor(sideOf(record));
    run(cursor, record->text);
    checkStatement(SQLNumResultCols(cursor->statement, &cursor->columnCount), cursor, "SQLNumResultCols");
    describeColumns(cursor);
    setBlockRows(cursor);
    bindColumns(cursor);
    cursor->busy = 1;
    cursor->row = cursor->fetchedRows = 0;
    results[record->id % kMostResults] = fetch(cursor) ? cursor : NULL;
}

static void nextRow(long id)
{
    struct Cursor* cursor = results[id % kMostResults];
    if (!cursor)
        fail("fewer rows than the trace has: another state of the databases");
    readRow(cursor);
    if (!fetch(cursor))
        results[id % kMostResults] = NULL;
}

static void closeResult(long id)
{
    struct Cursor* cursor = results[id % kMostResults];
    if (!cursor)
        return;
    readRow(cursor);
    finish(cursor);
}

static void execute(const struct TraceRecord* record, int countWanted)
{
    struct Cursor* cursor = freeCursor(sideOf(record));
    run(cursor, record->text);
    SQLLEN affected = 0;
    if (countWanted)
        checkStatement(SQLRowCount(cursor->statement, &affected), cursor, "SQLRowCount");
    SQLFreeStmt(cursor->statement, SQL_CLOSE);
}

static void replay(const struct Trace* trace)
{
    for (size_t index = 0; index < trace->count; ++index) {
        const struct TraceRecord* record = &trace->records[index];
        switch (record->kind) {
        case kConnect:
            break; // connected before the work began
        case kExecute:
        case kCount:
            execute(record, record->kind == kCount);
            break;
        case kOpen:
            openResult(record);
            break;
        case kNext:
            nextRow(record->id);
            break;
        case kClose:
            closeResult(record->id);
            break;
        }
    }
}

static void connectAll(const struct Trace* trace)
{
    check(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment), SQL_HANDLE_ENV, environment, "SQLAllocHandle");
    check(SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, (SQLPOINTER)SQL_OV_ODBC3, 0), SQL_HANDLE_ENV, environment,
          "SQLSetEnvAttr");
    for (size_t index = 0; index < trace->count; ++index)
        if (trace->records[index].kind == kConnect)
            connect(&trace->records[index]);
}

static void waitForLine(void)
{
    fflush(stdout);
    for (int c = getchar(); c != '\n' && c != EOF;)
        c = getchar();
}

int main(int count, char** arguments)
{
    if (count != 2)
        fail("usage: odbc TRACE");
    const struct Trace trace = readTrace(arguments[1]);
    connectAll(&trace);
    puts("begin");
    waitForLine();
    replay(&trace);
    printf("end statements=%lu rows=%lu bytes=%lu\n", statements, rows, bytes);
    waitForLine();
    return 0;
}
