#include "replication/row_dates.h"

#include "com/error.h"

namespace {

constexpr long long kToleranceSeconds = 2;
constexpr long long kFileTimeUnitsPerSecond = 10'000'000;

long long wholeSeconds(DATE date)
{
    SYSTEMTIME time{};
    FILETIME units{};
    if (!VariantTimeToSystemTime(date, &time) || !SystemTimeToFileTime(&time, &units))
        com::raiseRuntimeError(com::kInvalidCall);
    const ULARGE_INTEGER count{{units.dwLowDateTime, units.dwHighDateTime}};
    return static_cast<long long>(count.QuadPart) / kFileTimeUnitsPerSecond;
}

} // namespace

long long secondsApart(DATE first, DATE second)
{
    const long long difference = wholeSeconds(first) - wholeSeconds(second);
    return difference < 0 ? -difference : difference;
}

CommonDates compareDates(DATE dSource, DATE dDestination, DATE dLastReplicate)
{
    return {secondsApart(dSource, dDestination) <= kToleranceSeconds, dSource > dLastReplicate,
            dDestination > dLastReplicate, dSource > dDestination, dDestination > dSource};
}

Modified modifiedSince(DATE dModified, DATE dLastReplicate)
{
    return dModified >= dLastReplicate ? Modified::SinceLastRun : Modified::BeforeLastRun;
}
