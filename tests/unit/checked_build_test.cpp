#include <csignal>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <vector>
#include <windows.h>

// The checked build finds more than the assertions of the tests: it looks at the heaps after every test, and undefined
// behaviour or a wrong index ends the program. These tests show that it really does.

namespace {

/// Overwritten guards before, after and inside freed blocks count when the heaps have such guards: see checked.sh.
bool heapsAreIntact()
{
    std::vector<HANDLE> heaps(64);
    heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
    for (const HANDLE heap : heaps)
        if (!HeapValidate(heap, 0, nullptr))
            return false;
    return true;
}

class HeapCheck : public testing::EmptyTestEventListener
{
    void OnTestEnd(const testing::TestInfo& test) override
    {
        EXPECT_TRUE(heapsAreIntact()) << "after " << test.test_suite_name() << '.' << test.name();
    }
};

[[maybe_unused]] const bool kHeapCheckListens = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new HeapCheck);
    return true;
}();

bool isNoticed(volatile char* at)
{
    const char before = *at;
    *at = static_cast<char>(before + 1);
    const bool intact = heapsAreIntact();
    *at = before;
    return !intact;
}

TEST(CheckedBuild, NoticesAWriteAfterABlockAndIntoAFreedOne)
{
    const auto block = std::make_unique<char[]>(13);
    EXPECT_TRUE(isNoticed(block.get() + 13));
    auto freed = std::make_unique<char[]>(40);
    volatile char* inside = freed.get() + 20;
    freed.reset();
    EXPECT_TRUE(isNoticed(inside));
}

constexpr DWORD kEndedNormally = 0, kTrapped = 1, kAborted = 2;

LONG CALLBACK endThreadOnTrap(EXCEPTION_POINTERS* fault)
{
    if (fault->ExceptionRecord->ExceptionCode == EXCEPTION_ILLEGAL_INSTRUCTION)
        ExitThread(kTrapped);
    return EXCEPTION_CONTINUE_SEARCH;
}

/// The exit code of a thread that does nothing but this.
DWORD endOf(LPTHREAD_START_ROUTINE deed)
{
    void* const handler = AddVectoredExceptionHandler(1, endThreadOnTrap);
    const auto onAbort = std::signal(SIGABRT, [](int) { ExitThread(kAborted); });
    const HANDLE thread = CreateThread(nullptr, 0, deed, nullptr, 0, nullptr);
    WaitForSingleObject(thread, INFINITE);
    DWORD end = STILL_ACTIVE;
    GetExitCodeThread(thread, &end);
    CloseHandle(thread);
    std::signal(SIGABRT, onAbort);
    RemoveVectoredExceptionHandler(handler);
    return end;
}

DWORD WINAPI overflow(void*)
{
    volatile int n = std::numeric_limits<int>::max();
    n = n + 1;
    return kEndedNormally;
}

DWORD WINAPI useWrongIndex(void*)
{
    const std::vector<int> empty;
    [[maybe_unused]] const volatile int n = empty[0];
    return kEndedNormally;
}

TEST(CheckedBuild, TrapsOverflowAndAbortsAtAWrongIndex)
{
    EXPECT_EQ(kTrapped, endOf(overflow));
    EXPECT_EQ(kAborted, endOf(useWrongIndex));
}

} // namespace
