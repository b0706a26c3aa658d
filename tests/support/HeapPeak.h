#pragma once

#include "Holdings.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

/// Looks at the heaps every few milliseconds for as long as it lives, from a thread of its own.
class HeapPeak
{
public:
    HeapPeak() : thread_([this] { look(); }) {}
    ~HeapPeak()
    {
        ended_ = true;
        thread_.join();
    }
    HeapPeak(const HeapPeak&) = delete;
    HeapPeak& operator=(const HeapPeak&) = delete;

    /// The most that was in use at one of the looks so far.
    size_t bytes() const { return bytes_; }
    size_t looks() const { return looks_; }

private:
    void look()
    {
        for (; !ended_; std::this_thread::sleep_for(std::chrono::milliseconds(5))) {
            bytes_ = std::max<size_t>(bytes_, heapBytesInUse());
            ++looks_;
        }
    }

    std::atomic<bool> ended_ = false;
    std::atomic<size_t> bytes_ = 0;
    std::atomic<size_t> looks_ = 0;
    std::thread thread_;
};
