#include "NamedPair.h"
#include "support/Apartment.h"
#include "support/BuiltDll.h"
#include "support/LateCall.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

using Microsoft::WRL::ComPtr;

namespace {

/// Whether `init` of a host on the calling thread has opened its two connections.
bool connect(_Factory& factory, const NamedPair& pair)
{
    return SUCCEEDED(lateCall(&factory, L"init",
                              {0L, L"SOURCE", pair.sourcePrefix().c_str(), L"office", L"secret",
                               pair.destinationPrefix().c_str(), L"laptop", L"secret", 5L, L""})
                         .code);
}

/// A whole use of the component on a thread of its own; whether all went well.
bool useOnThread(const LoadedDll& dll)
{
    bool good = false;
    std::thread([&] {
        const Apartment apartment;
        const NamedPair pair(3);
        RecordingAdo ado;
        ado.answerOthers([&pair](const std::wstring& connection, const std::wstring& statement) {
            return pair.answer(connection, statement);
        });
        {
            const ComPtr<_Factory> factory = dll.createFactory();
            const bool connected = connect(*factory.Get(), pair);
            const LateResult table = lateCall(factory.Get(), L"createReplicationTable", {1L, L"users", L""});
            const bool copied = SUCCEEDED(lateCall(table.value.pdispVal, L"replicateOneWayDeleteAll").code);
            good = connected && copied && SUCCEEDED(lateCall(factory.Get(), L"disconnect").code);
        }
        good = good && ado.liveObjects() == 0;
    }).join();
    return good;
}

/// The objects and calls that remain of a thread that never disconnected.
struct Left
{
    std::unique_ptr<RecordingAdo> ado;
    size_t calls = 0;
    long liveObjects = 0;
    _Factory* factory = nullptr;
};

/// Ends a thread with open connections, whether or not it lets its factory go.
Left leaveOnThread(const LoadedDll& dll, bool releases)
{
    Left left;
    std::thread([&] {
        const Apartment apartment;
        left.ado = std::make_unique<RecordingAdo>();
        ComPtr<_Factory> factory = dll.createFactory();
        EXPECT_TRUE(connect(*factory.Get(), NamedPair(1)));
        if (!releases)
            left.factory = factory.Detach();
        factory.Reset();
        left.calls = left.ado->callsAndReads().size();
        left.liveObjects = left.ado->liveObjects();
    }).join();
    return left;
}

/// Loads the component, fails in it, and lets it go.
void useOnce()
{
    const LoadedDll dll;
    {
        const ComPtr<_Factory> factory = dll.createFactory();
        ASSERT_EQ(lateCall(factory.Get(), L"init", {0L, L"NONE", L"", L"", L"", L"", L"", L"", 1L, L""}).code,
                  DISP_E_EXCEPTION);
        ASSERT_EQ(lateCall(factory.Get(), L"createReplication").code, S_OK);
    }
    ASSERT_EQ(dll.call("DllCanUnloadNow"), S_OK);
}

} // namespace

// No COM call may be made while a thread detaches from the DLL: a thread that does not disconnect keeps its connections
// open until the process ends, and loses nothing else.
TEST(LostThread, ThatNeverDisconnectedHasItsConnectionsLeftAlone)
{
    const LoadedDll dll;
    const Left left = leaveOnThread(dll, true);
    EXPECT_GT(left.liveObjects, 0);
    EXPECT_EQ(left.ado->callsAndReads().size(), left.calls) << "called while the thread ended";
    EXPECT_EQ(left.ado->liveObjects(), left.liveObjects);
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_OK);
    EXPECT_TRUE(useOnThread(dll));
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_OK);
}

TEST(LostThread, ThatKeptItsFactoryKeepsTheDllUntilSomebodyReleasesIt)
{
    const LoadedDll dll;
    const Left left = leaveOnThread(dll, false);
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_FALSE);
    EXPECT_TRUE(useOnThread(dll));
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_FALSE);
    EXPECT_EQ(left.factory->Release(), 0U);
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_OK);
    EXPECT_TRUE(useOnThread(dll));
}

TEST(LostThread, IsOneOfManyAndTheProcessGoesOn)
{
    constexpr int kThreads = 300;
    const LoadedDll dll;
    for (int thread = 0; thread < kThreads; ++thread)
        leaveOnThread(dll, true);
    EXPECT_TRUE(useOnThread(dll));
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_OK);
}

TEST(Loading, AThousandTimesInOneProcess)
{
    // Each loading costs one of the 1088 thread slots of a process: the compiler's thread library never frees its own.
    constexpr int kCycles = 1000;
    const Apartment apartment;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        useOnce();
        ASSERT_EQ(GetModuleHandleW(L"QuinmarkRepDLL.dll"), nullptr) << cycle;
    }
}
