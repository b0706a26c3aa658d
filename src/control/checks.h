#pragma once

#include <string>

/// Whether program and databases belong together. Each check records its failure in the local database first and then
/// raises 0x80040000 with the reason and its own name as source ("Utils.checkVersions").
namespace Utils {

void checkProgramVersion(const std::wstring& sPgmVersion);
/// PatInfoVer and Version must agree between the databases.
void checkVersions();
/// Both databases must belong to one office.
void checkOffice();

} // namespace Utils
