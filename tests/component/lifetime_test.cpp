#include "support/Apartment.h"
#include "support/BuiltDll.h"
#include "support/LateCall.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <thread>

using Microsoft::WRL::ComPtr;

namespace {

constexpr wchar_t kModule[] = L"QuinmarkRepDLL.dll";

bool canUnload(const LoadedDll& dll)
{
    return dll.call("DllCanUnloadNow") == S_OK;
}

LateResult initWithRole(IDispatch* factory, const wchar_t* role)
{
    return lateCall(factory, L"init", {0L, role, L"", L"", L"", L"", L"", L"", 1L, L""});
}

TEST(Lifetime, DllMayGoOnceItsObjectsAreGone)
{
    const Apartment apartment;
    const LoadedDll dll;
    EXPECT_TRUE(canUnload(dll));
    {
        const ComPtr<_Factory> factory = dll.createFactory();
        EXPECT_FALSE(canUnload(dll));
        const LateResult run = lateCall(factory.Get(), L"createReplication");
        EXPECT_EQ(run.code, S_OK);
    }
    EXPECT_TRUE(canUnload(dll));
}

TEST(Lifetime, FailedCallsKeepNothing)
{
    const Apartment apartment;
    const LoadedDll dll;
    {
        const ComPtr<_Factory> factory = dll.createFactory();
        EXPECT_EQ(initWithRole(factory.Get(), L"LOCAL").scode, static_cast<SCODE>(0x800403E8));
        EXPECT_EQ(lateCall(factory.Get(), L"init").code, DISP_E_PARAMNOTOPTIONAL);
        void* object = nullptr;
        EXPECT_EQ(dll.classObject(CLSID_clsReplicate, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
    }
    EXPECT_TRUE(canUnload(dll));
}

TEST(Lifetime, LocksOfTheServerCount)
{
    const LoadedDll dll;
    ComPtr<IClassFactory> classFactory;
    ASSERT_EQ(dll.classObject(CLSID_Factory, IID_PPV_ARGS(&classFactory)), S_OK);
    EXPECT_EQ(classFactory->LockServer(TRUE), S_OK);
    EXPECT_EQ(classFactory->LockServer(FALSE), S_OK);
    classFactory.Reset();
    EXPECT_TRUE(canUnload(dll));
}

TEST(Lifetime, DllIsLoadedAndUnloadedOverAndOver)
{
    const Apartment apartment;
    for (int round = 0; round < 20; ++round) {
        {
            const LoadedDll dll;
            {
                const ComPtr<_Factory> factory = dll.createFactory();
                EXPECT_EQ(lateCall(factory.Get(), L"setLogLevel", {3L}).code, S_OK);
                EXPECT_EQ(initWithRole(factory.Get(), L"LOCAL").code, DISP_E_EXCEPTION);
            }
            EXPECT_TRUE(canUnload(dll)) << round;
        }
        EXPECT_EQ(GetModuleHandleW(kModule), nullptr) << round;
    }
}

TEST(Lifetime, ThreadsComeAndGoWhileTheDllIsLoaded)
{
    const LoadedDll dll;
    for (int round = 0; round < 20; ++round)
        std::thread([&] {
            const Apartment apartment;
            EXPECT_EQ(initWithRole(dll.createFactory().Get(), L"LOCAL").code, DISP_E_EXCEPTION);
        }).join();
    EXPECT_TRUE(canUnload(dll));
}

/// Lets a full copy of `table` fail for want of connections, after it has logged its first statement to `log`.
void logOneStatement(const LoadedDll& dll, const std::filesystem::path& log, const wchar_t* table,
                     const std::function<void()>& beforeTheCopy)
{
    const Apartment apartment;
    const ComPtr<_Factory> factory = dll.createFactory();
    lateCall(factory.Get(), L"init", {0L, L"NONE", L"", L"", L"", L"", L"", L"", 1L, log.c_str()});
    const LateResult created = lateCall(factory.Get(), L"createReplicationTable", {1L, table, L""});
    ASSERT_EQ(created.code, S_OK);
    beforeTheCopy();
    EXPECT_EQ(lateCall(created.value.pdispVal, L"replicateOneWayDeleteAll").scode, static_cast<SCODE>(0x800A005B));
}

/// What stands in `log` behind the time of its only entry; removes the file.
std::string takeEntry(const std::filesystem::path& log)
{
    std::ifstream file(log, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    file.close();
    std::filesystem::remove(log);
    const size_t level = text.find("DEBUG: ");
    return level == std::string::npos ? text : text.substr(level);
}

TEST(Lifetime, SettingsAreThoseOfTheThread)
{
    const LoadedDll dll;
    const std::filesystem::path folder = std::filesystem::temp_directory_path();
    const std::filesystem::path first = folder / L"quinmark first thread.log";
    const std::filesystem::path second = folder / L"quinmark second thread.log";
    std::filesystem::remove(first);
    std::filesystem::remove(second);
    std::thread([&] {
        logOneStatement(dll, first, L"patient",
                        [&] { std::thread([&] { logOneStatement(dll, second, L"users", [] {}); }).join(); });
    }).join();
    EXPECT_EQ(takeEntry(first), "DEBUG: ConnDestination: Delete from patient\r\n");
    EXPECT_EQ(takeEntry(second), "DEBUG: ConnDestination: Delete from users\r\n");
}

} // namespace
