// The component's own log entries, without a run around them:
//
//   bench_log FILE ENTRIES BYTES
//
// BYTES is the length of an entry in the file, its heading included.
#include "control/log.h"
#include "control/settings.h"
#include "protocol.h"

#include <algorithm>

using namespace quinmark;

namespace {

/// Line breaks, date, time and level, at their longest.
constexpr size_t kHeading = 36;

} // namespace

int wmain(int count, wchar_t* words[])
{
    if (count != 4 || !attachComponent(nullptr))
        return 2;
    const long entries = std::stol(words[2]);
    const std::wstring message(std::max(size_t{std::stoul(words[3])}, kHeading) - kHeading, L'x');
    settings().iLogLevel = LOG_DEBUG;
    settings().sLogFile = words[1];
    beginWork();
    for (long index = 0; index < entries; ++index)
        Utils::WriteLog(LOG_DEBUG, message);
    endWork("entries=" + std::to_string(entries));
    return 0;
}
