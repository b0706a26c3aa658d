#pragma once

#include "ado/Recordset.h"

#include <string>

/// Field-by-field reports in the log, at WARN, of rows that one side lacks or that differ where they should not. They
/// change no data. Failures are raised with the routine as source ("Utils.dumpDelete").
namespace Utils {

/// Reports every field of the row that `rs` stands on.
void dumpDelete(const std::wstring& sTable, const ado::Recordset& rs);

/// Reports the fields in which the destination's row ("Primary") and the source's ("Secondary") differ. `sSql` selects
/// the same row on both sides. Columns in another order raise 0x800403E8, and the report ends without its ruler.
void dumpDifferences(const std::wstring& sTable, const std::wstring& sSql);

} // namespace Utils
