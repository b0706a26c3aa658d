// Writes a trace as ODBC takes it: the connection strings and the spellings that the ADO classes would rewrite are
// rewritten already, so that a client in plain C sends what they send.
//
//   bench_plain_trace TRACE PLAIN_TRACE
#include "Trace.h"
#include "dialect.h"
#include "session.h"

#include <cstdio>
#include <stdexcept>

namespace {

std::wstring plainText(const TraceRecord& record)
{
    if (record.kind == TraceKind::Connect)
        return adodb::odbcConnectionString(std::wstring(record.text), {}, {});
    return adodb::translateSql(adodb::Dialect::PostgreSql, std::wstring(record.text));
}

} // namespace

int wmain(int count, wchar_t* words[])
{
    if (count != 3)
        return 2;
    try {
        const Trace trace(words[1]);
        TraceWriter plain(words[2]);
        for (TraceRecord record : trace.records()) {
            const std::wstring text = plainText(record);
            record.text = text;
            plain.add(record);
        }
        return 0;
    }
    catch (const std::exception& error) {
        printf("failed: %s\n", error.what());
        return 1;
    }
}
