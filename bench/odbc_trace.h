#ifndef ODBC_TRACE_H
#define ODBC_TRACE_H

#include <stddef.h>
#include <wchar.h>

/// What a line of a trace asks for.
enum TraceKind
{
    kConnect, ///< `text` is the connection string
    kExecute, ///< a statement without rows
    kCount,   ///< the same, and the number of affected rows is wanted
    kOpen,    ///< a statement with rows, read as result `id`
    kNext,
    kClose
};

struct TraceRecord
{
    enum TraceKind kind;
    char side; ///< 'S' or 'D'
    long id;
    wchar_t* text;
};

struct Trace
{
    struct TraceRecord* records;
    size_t count;
};

/// Reads a whole trace; ends the program with a message when it cannot be read.
struct Trace readTrace(const char* path);

/// Prints the message and ends the program.
_Noreturn void fail(const char* format, ...);

/// A block of `count` elements of `size` bytes, all zero; ends the program when there is no memory.
void* allocate(size_t count, size_t size);

#endif
