#include "support/LateCall.h"
#include "support/PracticePair.h"

#include <gmock/gmock.h>

#include <thread>

namespace {

constexpr wchar_t kTag[] = L"quinmark_lost";

class LostThread : public NeedsPostgreSql<PracticePair>
{
protected:
    /// Opens both connections on a thread of its own, which ends without closing them.
    void loseThread()
    {
        const HostSettings& settings = host();
        std::thread([&settings] {
            const Apartment apartment;
            const com::Dispatch factory = com::Dispatch::create(L"QuinmarkRepDLL.Factory");
            const LateResult result =
                lateCall(factory.get(), L"init",
                         {static_cast<long>(settings.site), settings.role.c_str(), settings.sourcePrefix.c_str(),
                          taggedDsn(settings.sourceDsn, kTag).c_str(), settings.sourcePassword.c_str(),
                          settings.destinationPrefix.c_str(), taggedDsn(settings.destinationDsn, kTag).c_str(),
                          settings.destinationPassword.c_str(), 1L, settings.logFile.c_str()});
            EXPECT_EQ(result.code, S_OK) << result.description;
        }).join();
    }

    std::wstring connections() const { return source().row(connectionsQuery(kTag)); }
};

} // namespace

TEST_F(LostThread, LeavesItsConnectionsOpenAndOtherThreadsAlone)
{
    addUser(source(), 1, L"new", kNew);
    loseThread();
    EXPECT_EQ(connections(), L"2");
    EXPECT_EQ(replicate(TablePlan{.method = ONE_WAY, .table = L"users"}).destAdd, 1);
    EXPECT_EQ(users(destination()), users(source()));
    EXPECT_EQ(connections(), L"2");
    source().execute(cutStatement(kTag));
    restoreControl();
    EXPECT_EQ(replicate(TablePlan{.method = ONE_WAY, .table = L"users"}), TableCounters{});
}
