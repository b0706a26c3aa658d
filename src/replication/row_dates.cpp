#include "replication/row_dates.h"

#include "com/error.h"

#include <chrono>
#include <cmath>
#include <optional>

namespace {

constexpr long long kToleranceSeconds = 2;

/// The seconds of a date that is a whole second, as nearly all are, and not before day zero; the platform's conversion
/// takes many times as long.
std::optional<long long> exactSeconds(DATE date)
{
    constexpr double kSecondsPerDay = 86400;
    constexpr double kLastDay = 2958465; // 31 December 9999
    constexpr double kNoise = 0.001;
    if (!(date >= 0 && date <= kLastDay))
        return std::nullopt;
    const double counted = date * kSecondsPerDay;
    const double whole = std::round(counted);
    if (std::abs(counted - whole) > kNoise)
        return std::nullopt;
    using namespace std::chrono;
    constexpr sys_seconds kDateZero = sys_days(December / 30 / 1899);
    return static_cast<long long>(whole) + kDateZero.time_since_epoch().count();
}

/// Seconds on a scale of its own, for differences.
long long wholeSeconds(DATE date)
{
    if (const auto exact = exactSeconds(date))
        return *exact;
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
