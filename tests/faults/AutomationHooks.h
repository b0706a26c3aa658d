#pragma once

namespace allocations {

/// Counts one allocation of the watched kind; false when it is to fail.
bool mayAllocate();

/// Whether the component is at work.
bool isWatched();

/// Has this program's own calls of the automation runtime that need memory fail when `mayAllocate` says so. Allocations
/// inside of the runtime are not failed: Wine's does not survive all of them.
void hookAutomation();

} // namespace allocations
