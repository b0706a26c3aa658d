#pragma once

#include "db/clsConn.h"

#include <string>

/// The run's error state, in the control record of a site in its local database.
namespace quinmark {

/// Records the error, or that there is none, over an open connection. Raises as `clsConn::executeSP`.
void recordError(clsConn& conn, short iReplicationUniqueId, bool bError, const std::wstring& sErrorMsg);

} // namespace quinmark

namespace Utils {

/// The same for the site and the local connection of the thread. Failures have the routine's name as source
/// ("Utils.setError"). `setError` does nothing while the connection is not open.
void setError(bool bError, const std::wstring& sErrorMsg);
void resetError();

} // namespace Utils
