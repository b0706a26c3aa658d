// The least that a log entry takes whose file is opened and closed for it: open, append, close.
//
//   bench_append FILE ENTRIES BYTES
#include "append.h"
#include "protocol.h"

int wmain(int count, wchar_t* words[])
{
    if (count != 4)
        return 2;
    const long entries = std::stol(words[2]);
    const std::string entry(std::stoul(words[3]), 'x');
    beginWork();
    for (long index = 0; index < entries; ++index)
        append(words[1], entry);
    endWork("entries=" + std::to_string(entries));
    return 0;
}
