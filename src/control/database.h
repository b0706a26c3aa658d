#pragma once

#include "db/clsConn.h"

#include <memory>
#include <string>

/// Which connection is the source and which the destination, whether the two databases belong together, and the run's
/// error state in the local database. All raise with their own name as source ("Utils.getConnSource").
namespace Utils {

/// The open connection of that side, by the local role alone. Raises 0x800403E8 when it is not open, 91 when it never
/// was opened.
std::shared_ptr<clsConn> getConnSource();
std::shared_ptr<clsConn> getConnDest();

/// The three checks. Each records its failure in the local database first and then raises 0x80040000 with the reason.
void checkProgramVersion(const std::wstring& sPgmVersion);
/// PatInfoVer and Version must agree between the databases.
void checkVersions();
/// Both databases must belong to one office.
void checkOffice();

/// Records the run's error, or that there is none; does nothing while the local connection is not open.
void setError(bool bError, const std::wstring& sErrorMsg);
void resetError();

} // namespace Utils
