#pragma once

#include <chrono>
#include <mutex>
#include <string>

/// The call that a thread is making, to be shown when it hangs or crashes.
class CallWatch
{
public:
    void begin(std::string text)
    {
        const std::lock_guard lock(mutex_);
        text_ = std::move(text);
        begun_ = std::chrono::steady_clock::now();
        busy_ = true;
    }
    void end()
    {
        const std::lock_guard lock(mutex_);
        busy_ = false;
    }
    bool isBusyFor(std::chrono::seconds limit)
    {
        const std::lock_guard lock(mutex_);
        return busy_ && std::chrono::steady_clock::now() - begun_ > limit;
    }
    std::string text()
    {
        const std::lock_guard lock(mutex_);
        return text_;
    }

private:
    std::mutex mutex_;
    std::string text_ = "nothing yet";
    std::chrono::steady_clock::time_point begun_;
    bool busy_ = false;
};
