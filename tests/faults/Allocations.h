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

/// Begins to count from 0, and to fail as told.
void begin(std::optional<Fault> fault = {});
/// Ends failing.
void heal();

/// Allocations since `begin`.
size_t count();
/// Whether one was made to fail since `begin`.
bool hasFailed();
/// `action` runs just before the first allocation fails.
void whenFailing(std::function<void()> action);

/// Blocks that were allocated while watched and are not freed yet.
long live();

/// The component is at work.
class Watched
{
public:
    Watched();
    ~Watched();
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;

private:
    bool before_;
};

/// The test's own code is at work, called by the component.
class Unwatched
{
public:
    Unwatched();
    ~Unwatched();
    Unwatched(const Unwatched&) = delete;
    Unwatched& operator=(const Unwatched&) = delete;

private:
    bool before_;
};

} // namespace allocations
