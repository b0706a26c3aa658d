#pragma once

#include "db/clsConn.h"

#include <memory>

/// The local, remote, source and destination connection, by the local role alone.
namespace Utils {

/// The connection of the machine's own database, open or not.
std::shared_ptr<clsConn> getConnLocal();

/// The open connection of that side. Both raise with their own name as source ("Utils.getConnSource"): 0x800403E8 when
/// it is not open, 91 when it never was opened.
std::shared_ptr<clsConn> getConnSource();
std::shared_ptr<clsConn> getConnDest();

} // namespace Utils
