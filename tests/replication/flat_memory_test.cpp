#include "callers/HeapUse.h"
#include "support/PracticePair.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <windows.h>

namespace {

/// What a process holds of the machine.
struct Holdings
{
    size_t heapBytes;
    DWORD gdiObjects;
    DWORD userObjects;
};

Holdings holdings()
{
    return {heapBytesInUse(), GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS),
            GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS)};
}

/// QUINMARK_RUNS, or what the ordinary test run has time for.
int runs()
{
    constexpr int kOrdinary = 100;
    const char* told = std::getenv("QUINMARK_RUNS");
    return told ? std::atoi(told) : kOrdinary;
}

class FlatMemory : public PracticePair
{
protected:
    void runTimes(int count)
    {
        for (int run = 0; run < count; ++run) {
            changeUser(source(), 1, L"changed " + std::to_wstring(run), kNew);
            changeUser(destination(), 1, L"before", kOld);
            restoreControl();
            ASSERT_EQ(replicate(TablePlan{.method = ONE_WAY, .table = L"users"}).destUpdate, 1);
        }
    }
};

} // namespace

TEST_F(FlatMemory, StaysAfterManyRunsFromInitToDisconnect)
{
    constexpr int kWarmUp = 50;
    constexpr size_t kBytesARun = 64;
    addUser(source(), 1, L"new", kNew);
    addUser(destination(), 1, L"old", kOld);
    runTimes(kWarmUp);
    const Holdings before = holdings();

    runTimes(runs());

    const Holdings after = holdings();
    ASSERT_GT(before.heapBytes, 0U);
    EXPECT_LE(after.heapBytes, before.heapBytes + kBytesARun * static_cast<size_t>(runs()));
    EXPECT_EQ(after.gdiObjects, before.gdiObjects);
    EXPECT_EQ(after.userObjects, before.userObjects);
}
