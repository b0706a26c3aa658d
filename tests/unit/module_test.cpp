#include "com/module.h"

#include "com/server.h"
#include "control/FactoryFace.h"
#include "support/LateCall.h"
#include "support/ScriptedObject.h"

#include <gtest/gtest.h>

using namespace quinmark;
using Microsoft::WRL::ComPtr;

namespace com {
namespace {

TEST(Module, IsInUseWhileAnyObjectLives)
{
    EXPECT_EQ(canUnloadNow(), S_OK);
    LateResult run;
    {
        const auto first = makeObject<ScriptedObject>();
        auto factory = makeObject<FactoryFace>();
        EXPECT_EQ(canUnloadNow(), S_FALSE);
        run = lateCall(factory.Get(), L"createReplication");
        EXPECT_EQ(run.code, S_OK);
        EXPECT_EQ(factory->createReplication(nullptr), E_POINTER);
        EXPECT_EQ(lateCall(factory.Get(), L"createConflict").code, DISP_E_PARAMNOTOPTIONAL);
    }
    EXPECT_EQ(canUnloadNow(), S_FALSE) << "an object was handed out";
    run.value.Clear();
    EXPECT_EQ(canUnloadNow(), S_OK);
}

TEST(Module, LocksCount)
{
    lockModule();
    lockModule();
    unlockModule();
    EXPECT_TRUE(moduleInUse());
    unlockModule();
    EXPECT_FALSE(moduleInUse());
    {
        const ModuleLock lock;
        EXPECT_TRUE(moduleInUse());
    }
    EXPECT_FALSE(moduleInUse());
}

TEST(Module, TypeInformationIsFoundAgainAfterItWasLetGo)
{
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(lateGet(makeObject<FactoryFace>().Get(), L"Version").code, S_OK);
        EXPECT_EQ(canUnloadNow(), S_OK);
    }
}

ULONG references(ITypeLib& library)
{
    library.AddRef();
    return library.Release();
}

TEST(Module, AbandonedLockLeavesTheTypeLibraryToTheNextQuestion)
{
    ComPtr<ITypeLib> library;
    {
        ModuleLock lock;
        UINT index = 0;
        ASSERT_EQ(interfaceTypeInfo(__uuidof(_Factory))->GetContainingTypeLib(&library, &index), S_OK);
        lock.abandon();
    }
    const ULONG before = references(*library.Get());
    EXPECT_EQ(canUnloadNow(), S_OK);
    EXPECT_EQ(references(*library.Get()), before - 1);
}

TEST(Module, PathIsThatOfTheFile)
{
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    EXPECT_EQ(modulePath(), path);
}

} // namespace
} // namespace com
