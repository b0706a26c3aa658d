#pragma once

#include <cstddef>
#include <functional>
#include <optional>

/// The memory that the component asks for: through `operator new`, which this program replaces, and from the automation
/// runtime. Both can be made to fail; what is left over is counted in `operator new` and in the task allocator, where
/// the runtime's texts come from. Everything here counts on the thread that called `watch` only, and only inside a
/// `Watched` scope outside any `Unwatched` one.
namespace allocations {

/// Fails the allocation number `at` (from 1), and with `lasting` all after it.
struct Fault
{
    size_t at;
    bool lasting;
};

/// Installs the watch. Once for a program.
void watch();

/// Begins to count from 0, and to fail as told; `whenFailing` runs just before the first allocation fails.
void begin(std::optional<Fault> fault = {}, std::function<void()> whenFailing = {});
/// Ends failing.
void heal();

/// Allocations since `begin`.
size_t count();
/// Blocks that were allocated while watched and are not freed yet.
long live();

/// The test's own code is at work, called by the component. May be nested.
void pause();
void resume();

/// The component is at work. Not to be nested.
struct Watched
{
    Watched();
    ~Watched();
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;
};

struct Unwatched
{
    Unwatched() { pause(); }
    ~Unwatched() { resume(); }
    Unwatched(const Unwatched&) = delete;
    Unwatched& operator=(const Unwatched&) = delete;
};

/// Whether the component is at work.
bool isWatched();
/// Counts one allocation of the watched kind; false when it is to fail.
bool mayAllocate();
/// Has this program's own calls of the automation runtime that need memory fail when `mayAllocate` says so. Allocations
/// inside of the runtime are not failed: Wine's does not survive all of them.
void hookAutomation();

} // namespace allocations
