// Random calls to all public members from two threads: invoke_calls [--seed N] [--minutes M] [--round R].

#include "Caller.h"
#include "com/module.h"
#include "control/settings.h"
#include "support/Holdings.h"
#include "support/ImportHook.h"
#include "support/MessageBoxes.h"
#include "support/Options.h"
#include "support/TemporaryFolder.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>

using namespace quinmark;

namespace {

constexpr size_t kThreads = 2;
constexpr size_t kCallsPerThread = 1000;
constexpr size_t kRoundsOfShortForm = 50;
constexpr size_t kWarmUpRounds = 5;
/// Far above any single call, also on a loaded machine: nothing waits here but a hanging call.
constexpr std::chrono::seconds kHangs{60};

CallWatch g_watches[kThreads];
thread_local CallWatch* g_watch = nullptr;

[[noreturn]] void endProcess(const char* what, CallWatch* watch)
{
    std::printf("%s: %s\n", what, watch ? watch->text().c_str() : "outside of a caller");
    std::printf("tried random calls: 1, found: 1\n");
    std::fflush(stdout);
    TerminateProcess(GetCurrentProcess(), EXIT_FAILURE);
    std::abort();
}

LONG WINAPI tellCrash(EXCEPTION_POINTERS* exception)
{
    std::printf("code %08lX at %p\n", exception->ExceptionRecord->ExceptionCode,
                exception->ExceptionRecord->ExceptionAddress);
    endProcess("crash", g_watch);
}

void tellTermination()
{
    endProcess("an exception left a call", g_watch);
}

/// The pause after closing a connection tells nothing here.
void WINAPI shortSleep(DWORD milliseconds)
{
    constexpr DWORD kPause = 5000;
    if (milliseconds < kPause)
        SleepEx(milliseconds, FALSE);
}

/// Names a call that does not return, for as long as this object lives.
class Watchdog
{
public:
    Watchdog() : thread_([this] { look(); }) {}
    ~Watchdog()
    {
        ended_ = true;
        thread_.join();
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    void look()
    {
        while (!ended_) {
            Sleep(200);
            for (CallWatch& watch : g_watches)
                if (watch.isBusyFor(kHangs))
                    endProcess("hang", &watch);
        }
    }

    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

/// The current folder, for the logs that the calls write wherever they are told to.
class LogFolder
{
public:
    LogFolder() { std::filesystem::current_path(folder_->file(L"")); }
    ~LogFolder() { std::filesystem::current_path(before_); }
    LogFolder(const LogFolder&) = delete;
    LogFolder& operator=(const LogFolder&) = delete;

    void empty()
    {
        std::filesystem::current_path(before_);
        folder_.emplace();
        std::filesystem::current_path(folder_->file(L""));
    }

private:
    const std::filesystem::path before_ = std::filesystem::current_path();
    std::optional<TemporaryFolder> folder_{std::in_place};
};

class Campaign
{
public:
    explicit Campaign(Options options) : options_(std::move(options)) {}

    int run()
    {
        std::printf("seed %llu\n", static_cast<unsigned long long>(seed_));
        const auto begun = std::chrono::steady_clock::now();
        const std::chrono::duration<double> limit(minutes_ * 60);
        for (size_t round = 1;
             minutes_ > 0 ? std::chrono::steady_clock::now() - begun < limit : round <= kRoundsOfShortForm; ++round)
            if (onlyRound_ == 0 || onlyRound_ == round)
                runRound(round);
        return report();
    }

private:
    void runRound(size_t round)
    {
        std::thread threads[kThreads];
        for (size_t index = 0; index < kThreads; ++index)
            threads[index] = std::thread([=, this] { runCaller(round, index); });
        for (std::thread& thread : threads)
            thread.join();
        folder_.empty();
        tried_ += kThreads * kCallsPerThread;
        if (com::moduleInUse())
            complain("round " + std::to_string(round) + ": objects are left");
        if (round == kWarmUpRounds)
            heapAfterWarmUp_ = heapBytesInUse();
        lastRound_ = round;
    }

    void runCaller(size_t round, size_t index)
    {
        g_watch = &g_watches[index];
        Caller caller(partSeed(seed_, round * kThreads + index),
                      "--seed " + std::to_string(seed_) + " --round " + std::to_string(round) + " thread " +
                          std::to_string(index),
                      *g_watch);
        caller.makeCalls(kCallsPerThread);
        caller.leave();
        const std::lock_guard lock(mutex_);
        for (const std::string& complaint : caller.complaints())
            complain(complaint);
    }

    void complain(const std::string& complaint)
    {
        constexpr size_t kShown = 20;
        if (++found_ <= kShown)
            std::printf("%s\n", complaint.c_str());
    }

    int report()
    {
        if (lastRound_ > kWarmUpRounds && onlyRound_ == 0)
            judgeHeap();
        std::printf("tried random calls: %zu, found: %zu\n", tried_, found_);
        return found_ > 0 ? EXIT_FAILURE : EXIT_SUCCESS;
    }

    /// A text or two of another length is fine; what a rare call leaves is soon more.
    void judgeHeap()
    {
        constexpr size_t kNoise = 64;
        const size_t calls = (lastRound_ - kWarmUpRounds) * kThreads * kCallsPerThread;
        const size_t now = heapBytesInUse();
        std::printf("heap: %zu bytes after the warm-up, %zu after %zu more calls\n", heapAfterWarmUp_, now, calls);
        if (now > heapAfterWarmUp_ + kNoise)
            complain("the heap has grown");
    }

    const Options options_;
    const std::uint64_t seed_ = options_.number<std::uint64_t>("--seed", 1);
    const double minutes_ = options_.real("--minutes");
    const size_t onlyRound_ = options_.number<size_t>("--round", 0);
    LogFolder folder_;
    std::mutex mutex_;
    size_t tried_ = 0;
    size_t found_ = 0;
    size_t heapAfterWarmUp_ = 0;
    size_t lastRound_ = 0;
};

} // namespace

int main(int count, char** arguments)
{
    try {
        const Options options(count, arguments, {"--seed", "--minutes", "--round"});
        SetUnhandledExceptionFilter(tellCrash);
        std::set_terminate(tellTermination);
        attachComponent(nullptr);
        const ImportHook sleep("Sleep", reinterpret_cast<void*>(shortSleep));
        const UnshownBoxes boxes;
        withoutTextCache();
        const Watchdog watchdog;
        return Campaign(options).run();
    }
    catch (const std::exception& error) {
        std::printf("%s\n", error.what());
    }
    return 2;
}
