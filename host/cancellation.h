#pragma once

#include <atomic>

/// Set by Ctrl-C (and when the console closes) from the first call on; a second Ctrl-C ends the program
/// at once, with kFailed.
const std::atomic<bool>& cancellation();
