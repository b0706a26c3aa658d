#pragma once

#include "replication/row_policy.h"

#include <oaidl.h>

namespace quinmark {

/// How far two dates are apart, in whole seconds. Each is taken to a whole second by the platform's own conversion
/// (VariantTimeToSystemTime), which rounds to the nearest. Raises 5 for what is no date to it.
long long secondsApart(DATE first, DATE second);

/// How the dates of a row that both sides have compare, to each other and to the last run.
CommonDates compareDates(DATE dSource, DATE dDestination, DATE dLastReplicate);

/// When a row that one side has was modified.
Modified modifiedSince(DATE dModified, DATE dLastReplicate);

} // namespace quinmark
