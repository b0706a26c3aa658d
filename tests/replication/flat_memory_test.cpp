#include "support/BuiltDll.h"
#include "support/Holdings.h"
#include "support/PracticePair.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <iostream>
#include <optional>

namespace {

/// QUINMARK_RUNS, or what the ordinary test run has time for.
int runs()
{
    constexpr int kOrdinary = 25;
    const char* told = std::getenv("QUINMARK_RUNS");
    return told ? std::atoi(told) : kOrdinary;
}

std::filesystem::path pathOf(const wchar_t* module)
{
    wchar_t path[MAX_PATH] = L"";
    GetModuleFileNameW(GetModuleHandleW(module), path, MAX_PATH);
    return path;
}

class FlatMemory : public PracticePair
{
protected:
    void SetUp() override
    {
        PracticePair::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        component_.emplace(pathOf(L"QuinmarkRepDLL.dll"));
        if (GetModuleHandleW(L"adodb.dll"))
            ado_.emplace(pathOf(L"adodb.dll"));
    }

    /// No object of the component, nor of the stand-in for ADO, outlives the host's own.
    void TearDown() override
    {
        PracticePair::TearDown();
        for (const std::optional<LoadedDll>* dll : {&component_, &ado_}) {
            if (*dll) {
                EXPECT_EQ((*dll)->call("DllCanUnloadNow"), S_OK) << "objects are left";
            }
        }
    }

    void runTimes(int count)
    {
        for (int run = 0; run < count; ++run) {
            changeUser(source(), 1, L"changed " + std::to_wstring(run), kNew);
            changeUser(destination(), 1, L"before", kOld);
            restoreControl();
            ASSERT_EQ(replicate(TablePlan{.method = ONE_WAY, .table = L"users"}).destUpdate, 1);
        }
    }

private:
    std::optional<LoadedDll> component_;
    std::optional<LoadedDll> ado_;
};

} // namespace

TEST_F(FlatMemory, StaysAfterManyRunsFromInitToDisconnect)
{
    constexpr int kWarmUp = 10;
    // A text's length may differ; anything that a run leaves is a block of more bytes than this.
    constexpr size_t kBytesARun = 4;
    addUser(source(), 1, L"new", kNew);
    addUser(destination(), 1, L"old", kOld);
    runTimes(kWarmUp);
    const size_t bytes = heapBytesInUse();
    const size_t handles = handleCount();
    ASSERT_GT(bytes, 0U);

    runTimes(runs());

    std::cout << bytes << " bytes of heap after " << kWarmUp << " runs, " << heapBytesInUse() << " after " << runs()
              << " more\n";
    EXPECT_LE(heapBytesInUse(), bytes + kBytesARun * static_cast<size_t>(runs()));
    EXPECT_LE(handleCount(), handles);
}

TEST(Holdings, TellOneHandleMore)
{
    const size_t before = handleCount();
    HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const size_t with = handleCount();
    CloseHandle(event);
    EXPECT_EQ(with, before + 1);
    EXPECT_EQ(handleCount(), before);
}
