#include "com/module.h"

#include "com/server.h"
#include "conflicts/Collection.h"
#include "control/FactoryFace.h"
#include "support/LateCall.h"

#include <gtest/gtest.h>

using namespace quinmark;
using Microsoft::WRL::ComPtr;

namespace com {
namespace {

TEST(Module, IsUnusedBeforeAndAfterEveryObject)
{
    EXPECT_EQ(canUnloadNow(), S_OK);
    {
        const auto first = makeObject<quinmark::Collection>();
        auto second = makeObject<FactoryFace>();
        EXPECT_EQ(canUnloadNow(), S_FALSE);
        second.Reset();
        EXPECT_EQ(canUnloadNow(), S_FALSE);
    }
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

TEST(Module, ObjectsHandedOutKeepItInUse)
{
    ComPtr<_clsReplicate> run;
    {
        const auto factory = makeObject<FactoryFace>();
        ASSERT_EQ(factory->createReplication(&run), S_OK);
    }
    EXPECT_EQ(canUnloadNow(), S_FALSE);
    run.Reset();
    EXPECT_EQ(canUnloadNow(), S_OK);
}

TEST(Module, CallWithoutAPlaceForItsResultLeavesNoObjectBehind)
{
    {
        const auto factory = makeObject<FactoryFace>();
        EXPECT_EQ(factory->createReplication(nullptr), E_POINTER);
    }
    EXPECT_EQ(canUnloadNow(), S_OK);
}

TEST(Module, LateCallsLeaveNothingBehind)
{
    {
        const auto factory = makeObject<FactoryFace>();
        EXPECT_EQ(lateCall(factory.Get(), L"createReplication").code, S_OK);
        EXPECT_EQ(lateCall(factory.Get(), L"createConflict").code, DISP_E_PARAMNOTOPTIONAL);
    }
    EXPECT_EQ(canUnloadNow(), S_OK);
}

TEST(Module, TypeInformationIsFoundAgainAfterItWasLetGo)
{
    const ModuleLock lock;
    for (int round = 0; round < 3; ++round) {
        const auto factory = makeObject<FactoryFace>();
        EXPECT_EQ(lateGet(factory.Get(), L"Version").code, S_OK);
    }
    EXPECT_NE(interfaceTypeInfo(__uuidof(_Factory)), nullptr);
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
