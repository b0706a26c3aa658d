#pragma once

#include "com/server.h"

#include <span>

namespace adodb {

/// Keeps aside which server the prefix had for each class, so that it can be put back. A registration over one's own
/// keeps what was kept before.
void savePreviousRegistration(std::span<const com::ClassEntry> classes);

/// Puts back what was kept aside and forgets it. Classes that had no server stay removed.
void restorePreviousRegistration(std::span<const com::ClassEntry> classes);

} // namespace adodb
