#include "odbc_trace.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

enum
{
    kMostFields = 4
};

void fail(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
    fputc('\n', stderr);
    exit(1);
}

void* allocate(size_t count, size_t size)
{
    void* block = calloc(count ? count : 1, size);
    if (!block)
        fail("out of memory");
    return block;
}

static char* readFile(const char* path)
{
    FILE* file = fopen(path, "rb");
    if (!file)
        fail("%s cannot be opened", path);
    fseek(file, 0, SEEK_END);
    const size_t size = (size_t)ftell(file);
    rewind(file);
    char* content = allocate(size + 1, 1);
    if (fread(content, 1, size, file) != size)
        fail("%s cannot be read", path);
    fclose(file);
    return content;
}

static char unescaped(char mark)
{
    return mark == 't' ? '\t' : mark == 'r' ? '\r' : mark == 'n' ? '\n' : mark;
}

static wchar_t* textOf(const char* field)
{
    const size_t length = strlen(field);
    char* plain = allocate(length + 1, 1);
    size_t used = 0;
    for (const char* at = field; *at; ++at)
        plain[used++] = *at == '\\' && at[1] ? unescaped(*++at) : *at;
    const int units = MultiByteToWideChar(CP_UTF8, 0, plain, (int)used, NULL, 0);
    wchar_t* text = allocate((size_t)units + 1, sizeof(wchar_t));
    MultiByteToWideChar(CP_UTF8, 0, plain, (int)used, text, units);
    free(plain);
    return text;
}

/// Cuts the next line off `*rest` and into its fields, the missing ones empty; 0 at the end.
static int nextLine(char** rest, char* fields[kMostFields])
{
    char* line = *rest;
    if (!*line)
        return 0;
    char* end = strchr(line, '\n');
    *rest = end ? end + 1 : line + strlen(line);
    if (end)
        *end = '\0';
    for (int index = 0; index < kMostFields; ++index) {
        fields[index] = line;
        char* tab = index + 1 < kMostFields ? strchr(line, '\t') : NULL;
        line = tab ? tab + 1 : line + strlen(line);
        if (tab)
            *tab = '\0';
    }
    return 1;
}

static enum TraceKind kindOf(const char* word)
{
    static const char* const words[] = {"connect", "execute", "count", "open", "next", "close"};
    for (size_t index = 0; index < sizeof words / sizeof *words; ++index)
        if (strcmp(word, words[index]) == 0)
            return (enum TraceKind)index;
    fail("a record %s cannot be sent", word);
}

static struct TraceRecord readRecord(char* fields[kMostFields])
{
    struct TraceRecord record = {.kind = kindOf(fields[0])};
    const int hasId = record.kind == kOpen || record.kind == kNext || record.kind == kClose;
    if (hasId)
        record.id = atol(fields[1]);
    if (record.kind == kNext || record.kind == kClose)
        return record;
    record.side = *fields[hasId ? 2 : 1];
    record.text = textOf(fields[hasId ? 3 : 2]);
    return record;
}

struct Trace readTrace(const char* path)
{
    char* rest = readFile(path);
    size_t lines = 0;
    for (const char* at = rest; *at; ++at)
        lines += *at == '\n';
    struct Trace trace = {allocate(lines + 1, sizeof(struct TraceRecord)), 0};
    char* fields[kMostFields];
    while (nextLine(&rest, fields))
        trace.records[trace.count++] = readRecord(fields);
    return trace;
}
