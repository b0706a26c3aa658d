#pragma once

#include <string>

/// The run's error state in the local database. Failures have the routine's name as source ("Utils.setError").
namespace Utils {

/// Records the run's error, or that there is none; does nothing while the local connection is not open.
void setError(bool bError, const std::wstring& sErrorMsg);
void resetError();

} // namespace Utils
