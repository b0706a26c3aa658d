#pragma once

#include "db/clsConn.h"

#include <memory>

/// Which connection is which, by the local role alone.
namespace Utils {

/// The open connection of that side. Both raise with their own name as source ("Utils.getConnSource"): 0x800403E8 when
/// it is not open, 91 when it never was opened.
std::shared_ptr<clsConn> getConnSource();
std::shared_ptr<clsConn> getConnDest();

} // namespace Utils
