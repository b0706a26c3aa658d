#include "support/Apartment.h"
#include "support/BuiltDll.h"
#include "support/LateCall.h"
#include "support/RecordingAdo.h"

#include <gtest/gtest.h>

#include <thread>

using Microsoft::WRL::ComPtr;

namespace {

HRESULT init(_Factory& factory, const wchar_t* role = L"SOURCE")
{
    return lateCall(&factory, L"init", {0L, role, L"", L"office", L"", L"", L"laptop", L"", 5L, L""}).code;
}

/// A whole use of the component on a thread of its own.
void useOnThread(const LoadedDll& dll)
{
    std::thread([&] {
        const Apartment apartment;
        const RecordingAdo ado;
        {
            const ComPtr<_Factory> factory = dll.createFactory();
            EXPECT_EQ(init(*factory.Get()), S_OK);
            const LateResult table = lateCall(factory.Get(), L"createReplicationTable", {1L, L"users", L""});
            ASSERT_EQ(table.code, S_OK);
            EXPECT_EQ(lateCall(table.value.pdispVal, L"replicateOneWayDeleteAll").code, S_OK);
            EXPECT_EQ(lateCall(factory.Get(), L"disconnect").code, S_OK);
        }
        EXPECT_EQ(ado.liveObjects(), 0);
    }).join();
}

/// Ends a thread with open connections, which are left alone, and gives its factory. No COM call may be made while a
/// thread detaches from the DLL.
ComPtr<_Factory> loseThread(const LoadedDll& dll)
{
    std::unique_ptr<RecordingAdo> ado;
    ComPtr<_Factory> factory;
    size_t calls = 0;
    std::thread([&] {
        const Apartment apartment;
        ado = std::make_unique<RecordingAdo>();
        factory = dll.createFactory();
        EXPECT_EQ(init(*factory.Get()), S_OK);
        calls = ado->callsAndReads().size();
    }).join();
    EXPECT_EQ(ado->callsAndReads().size(), calls) << "called while the thread ended";
    EXPECT_EQ(ado->liveObjects(), 2);
    return factory;
}

} // namespace

TEST(LostThread, IsOneOfManyAndTheProcessGoesOn)
{
    constexpr int kThreads = 300;
    const LoadedDll dll;
    for (int thread = 0; thread < kThreads; ++thread)
        loseThread(dll);
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_OK);
    useOnThread(dll);
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_OK);
}

TEST(LostThread, ThatKeptItsFactoryKeepsTheDllUntilSomebodyReleasesIt)
{
    const LoadedDll dll;
    ComPtr<_Factory> kept = loseThread(dll);
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_FALSE);
    useOnThread(dll);
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_FALSE);
    kept.Reset();
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_OK);
}

TEST(Loading, AThousandTimesInOneProcess)
{
    // Each loading costs one of the 1088 thread slots of a process: the compiler's thread library never frees its own.
    constexpr int kCycles = 1000;
    const Apartment apartment;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        {
            const LoadedDll dll;
            ComPtr<_Factory> factory = dll.createFactory();
            ASSERT_EQ(init(*factory.Get(), L"NONE"), DISP_E_EXCEPTION);
            ASSERT_EQ(lateCall(factory.Get(), L"createReplication").code, S_OK);
            factory.Reset();
            ASSERT_EQ(dll.call("DllCanUnloadNow"), S_OK);
        }
        ASSERT_EQ(GetModuleHandleW(L"QuinmarkRepDLL.dll"), nullptr) << cycle;
    }
}
