#include "support/Apartment.h"
#include "support/BuiltDll.h"
#include "support/LateCall.h"
#include "support/MessageBoxes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

using Microsoft::WRL::ComPtr;

namespace {

bool displayIsThere()
{
    return std::getenv("DISPLAY") != nullptr;
}

class LogFailure : public testing::Test
{
protected:
    void SetUp() override
    {
        if (displayIsThere())
            return;
        if (std::getenv("QUINMARK_REQUIRE_DISPLAY"))
            FAIL() << "DISPLAY is not set";
        GTEST_SKIP() << "message boxes need a display: set DISPLAY";
    }

    /// Gives the thread a log file in a folder that does not exist. The role keeps `init` from connecting.
    static void loseTheLog(IDispatch* factory)
    {
        EXPECT_EQ(lateCall(factory, L"init",
                           {0L, L"NONE", L"", L"", L"", L"", L"", L"", 1L, L"C:\\no such folder\\quinmark.log"})
                      .scode,
                  static_cast<SCODE>(0x800403E8));
    }

    static LateResult copy(IDispatch* factory)
    {
        const LateResult table = lateCall(factory, L"createReplicationTable", {1L, L"patient", L""});
        EXPECT_EQ(table.code, S_OK);
        return lateCall(table.value.pdispVal, L"replicateOneWayDeleteAll");
    }
};

TEST_F(LogFailure, IsShownInOneBoxAndRaised)
{
    const Apartment apartment;
    const LoadedDll dll;
    const ComPtr<_Factory> factory = dll.createFactory();
    loseTheLog(factory.Get());
    const MessageBoxes boxes;
    const LateResult result = copy(factory.Get());
    EXPECT_EQ(boxes.texts(), std::vector<std::wstring>{L"Utils.WriteLog: Path not found"});
    EXPECT_EQ(result.scode, static_cast<SCODE>(0x80040001));
    EXPECT_EQ(result.source, L"clsReplicateTable.replicateOneWayDeleteAll(patient)");
}

TEST_F(LogFailure, IsThatOfTheThreadWhoseLogIsLost)
{
    const Apartment apartment;
    const LoadedDll dll;
    const ComPtr<_Factory> factory = dll.createFactory();
    EXPECT_EQ(lateCall(factory.Get(), L"setLogLevel", {6L}).code, S_OK);
    std::thread([&] {
        const Apartment own;
        const ComPtr<_Factory> other = dll.createFactory();
        loseTheLog(other.Get());
        const MessageBoxes boxes;
        EXPECT_EQ(copy(other.Get()).scode, static_cast<SCODE>(0x80040001));
        EXPECT_EQ(boxes.texts(), std::vector<std::wstring>{L"Utils.WriteLog: Path not found"});
    }).join();
    const MessageBoxes boxes;
    EXPECT_EQ(copy(factory.Get()).scode, static_cast<SCODE>(0x800A005B));
    EXPECT_EQ(boxes.texts(), std::vector<std::wstring>{});
}

} // namespace
