#include "replication/row_dates.h"

#include "com/error.h"

#include <chrono>
#include <cstdlib>

namespace quinmark {
namespace {

constexpr long long kToleranceSeconds = 2;

/// Seconds on a scale of its own, for differences.
long long wholeSeconds(DATE date)
{
    SYSTEMTIME time{};
    if (!VariantTimeToSystemTime(date, &time))
        com::raiseRuntimeError(com::kInvalidCall);
    using namespace std::chrono;
    const sys_days day = year(time.wYear) / month(time.wMonth) / std::chrono::day(time.wDay);
    return (day.time_since_epoch() + hours(time.wHour) + minutes(time.wMinute) + seconds(time.wSecond)) / seconds(1);
}

} // namespace

long long secondsApart(DATE first, DATE second)
{
    return std::abs(wholeSeconds(first) - wholeSeconds(second));
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

} // namespace quinmark
