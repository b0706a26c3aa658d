#include "support/Apartment.h"
#include "support/BuiltDll.h"
#include "support/LateCall.h"
#include "support/RecordingAdo.h"

#include <gtest/gtest.h>

#include <thread>

using Microsoft::WRL::ComPtr;

namespace {

constexpr long kExecuting = 5;

HMODULE loaded()
{
    return GetModuleHandleW(L"QuinmarkRepDLL.dll");
}

/// The DLL's answer when COM asks whether it may be unloaded.
HRESULT answer()
{
    using Export = HRESULT(STDAPICALLTYPE*)();
    return reinterpret_cast<Export>(reinterpret_cast<void*>(GetProcAddress(loaded(), "DllCanUnloadNow")))();
}

/// Whether COM unloads the DLL; if so, the DLL has agreed.
bool isUnloaded()
{
    const HRESULT agreed = answer();
    CoFreeUnusedLibraries();
    EXPECT_EQ(agreed, loaded() ? S_FALSE : S_OK);
    return !loaded();
}

/// A member of a new entry object, which is let go again: what the thread has connected stays.
HRESULT call(const wchar_t* member, const std::vector<_variant_t>& arguments = {})
{
    ComPtr<_Factory> factory;
    com::check(CoCreateInstance(CLSID_Factory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)));
    const LateResult result = lateCall(factory.Get(), member, arguments);
    return result.code == DISP_E_EXCEPTION ? result.scode : result.code;
}

HRESULT init()
{
    return call(L"init", {0L, L"SOURCE", L"", L"source", L"", L"", L"destination", L"", 5L, L""});
}

/// A host that COM loads the registered DLL for. The tests follow one another in one process, as its uses.
class Unloading : public testing::Test
{
protected:
    const Apartment apartment;
    RecordingAdo ado;
    const AdoFailure refused{E_FAIL, L"Refused"};
};

TEST_F(Unloading, WaitsForDisconnectAfterTheLastObject)
{
    EXPECT_EQ(init(), S_OK);
    EXPECT_FALSE(isUnloaded());
    EXPECT_EQ(ado.liveObjects(), 2);
    EXPECT_EQ(call(L"disconnect"), S_OK);
    EXPECT_EQ(ado.liveObjects(), 0);
    EXPECT_TRUE(isUnloaded());
}

TEST_F(Unloading, WaitsForTheConnectionThatWasOpenedBeforeARefusedOne)
{
    ado.failMember(L"Connection.Open", refused, 2);
    EXPECT_EQ(init(), E_FAIL);
    EXPECT_FALSE(isUnloaded());
    EXPECT_EQ(call(L"disconnect"), S_OK);
    EXPECT_TRUE(isUnloaded());
}

TEST_F(Unloading, DoesNotWaitForARefusedConnection)
{
    ado.failMember(L"Connection.Open", refused);
    EXPECT_EQ(init(), E_FAIL);
    EXPECT_TRUE(isUnloaded());
}

TEST_F(Unloading, DoesNotWaitForConnectionsThatAreLostWhenTheyAreDisconnected)
{
    EXPECT_EQ(init(), S_OK);
    ado.setState(L"source", 0);
    ado.setState(L"destination", 0);
    EXPECT_FALSE(isUnloaded());
    EXPECT_EQ(call(L"disconnect"), S_OK);
    EXPECT_TRUE(isUnloaded());
}

TEST_F(Unloading, WaitsForAConnectionThatCannotBeClosed)
{
    EXPECT_EQ(init(), S_OK);
    ado.failMember(L"Connection.Close", refused, 2);
    EXPECT_EQ(call(L"disconnect"), E_FAIL);
    EXPECT_FALSE(isUnloaded());
    EXPECT_EQ(call(L"disconnect"), S_OK);
    EXPECT_TRUE(isUnloaded());
}

TEST_F(Unloading, WaitsForTheLastConnectionOfAHolderThatHadSeveral)
{
    EXPECT_EQ(init(), S_OK);
    ado.setState(L"source", kExecuting);
    ado.setState(L"destination", kExecuting);
    EXPECT_EQ(init(), S_OK);
    ado.setState(L"destination", 0);
    ado.failMember(L"create Connection", {REGDB_E_CLASSNOTREG, L""});
    EXPECT_NE(init(), S_OK);
    EXPECT_FALSE(isUnloaded());
    EXPECT_EQ(call(L"disconnect"), S_OK);
    EXPECT_TRUE(isUnloaded());
}

// Takes the five seconds that a second `init` waits after it has closed the remote connection.
TEST_F(Unloading, DoesNotWaitForConnectionsThatWereClosedAndNotOpenedAgain)
{
    EXPECT_EQ(init(), S_OK);
    ado.failMember(L"Connection.Open", refused);
    EXPECT_EQ(init(), E_FAIL);
    EXPECT_TRUE(isUnloaded());
}

/// Leaves open connections on a thread of their own, which calls `beforeItsEnd` and ends without `disconnect`.
template <class Action>
void loseThread(Action beforeItsEnd)
{
    std::thread([&] {
        const Apartment apartment;
        const RecordingAdo ado;
        EXPECT_EQ(init(), S_OK);
        beforeItsEnd();
    }).join();
}

TEST_F(Unloading, WaitsForTheConnectionsOfAnotherThread)
{
    EXPECT_EQ(init(), S_OK);
    loseThread([] {
        CoFreeUnusedLibraries();
        EXPECT_EQ(answer(), S_FALSE);
    });
    EXPECT_FALSE(isUnloaded());
    EXPECT_EQ(call(L"disconnect"), S_OK);
    EXPECT_TRUE(isUnloaded());
}

// Nobody can close connections whose thread has ended.
TEST_F(Unloading, DoesNotWaitForTheConnectionsOfAThreadThatEnded)
{
    EXPECT_EQ(call(L"disconnect"), S_OK);
    for (int thread = 0; thread < 3; ++thread)
        loseThread([] { EXPECT_EQ(answer(), S_FALSE); });
    EXPECT_EQ(init(), S_OK);
    EXPECT_FALSE(isUnloaded());
    EXPECT_EQ(call(L"disconnect"), S_OK);
    EXPECT_TRUE(isUnloaded());
}

} // namespace
