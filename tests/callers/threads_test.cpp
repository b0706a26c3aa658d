#include "support/Apartment.h"
#include "support/BuiltDll.h"
#include "support/LateCall.h"
#include "support/RecordingAdo.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

using Microsoft::WRL::ComPtr;

namespace {

/// One host thread with a factory, a pair, a table and a log of its own, all named after it.
class HostThread
{
public:
    HostThread(const LoadedDll& dll, int number) : dll_(dll), name_(L"t" + std::to_wstring(number) + L"x")
    {
        log_ = std::filesystem::temp_directory_path() /
               (L"quinmark threads " + std::to_wstring(GetCurrentProcessId()) + L" " + name_ + L".log");
        std::filesystem::remove(log_);
    }

    /// The full copy of its table over and over; every second one is refused by the server.
    void run(int rounds)
    {
        RecordingAdo ado;
        const ComPtr<_Factory> factory = dll_.createFactory();
        for (int round = 0; round < rounds; ++round) {
            connect(factory.Get());
            if (round % 2)
                ado.failStatement(L"Delete from " + name_, {E_FAIL, L"refused to " + name_});
            copy(factory.Get(), round % 2 != 0);
            if (FAILED(lateCall(factory.Get(), L"disconnect").code))
                complain(L"disconnect failed");
            for (const auto& [connection, statement] : ado.statements())
                if (connection.find(name_) == std::wstring::npos || statement.find(name_) == std::wstring::npos)
                    complain(connection + L": " + statement);
            ado.forget();
        }
        if (ado.liveObjects() != 0)
            complain(L"objects of ADO are left");
    }

    const std::vector<std::wstring>& complaints() const { return complaints_; }

    /// Entries of the log, those of other threads apart; removes the file.
    std::pair<size_t, size_t> takeEntries() const
    {
        std::ifstream file(log_);
        std::pair<size_t, size_t> counts;
        const std::string own(name_.begin(), name_.end());
        for (std::string line; std::getline(file, line);)
            if (const size_t copied = line.find("Delete from "); copied != std::string::npos)
                ++(line.compare(copied + 12, own.size(), own) == 0 ? counts.first : counts.second);
        file.close();
        std::filesystem::remove(log_);
        return counts;
    }

private:
    void connect(IDispatch* factory)
    {
        const _variant_t dsn(name_.c_str());
        const LateResult result =
            lateCall(factory, L"init", {0L, L"SOURCE", L"", dsn, L"secret", L"", dsn, L"secret", 1L, log_.c_str()});
        if (FAILED(result.code))
            complain(L"init: " + result.description);
    }

    void copy(IDispatch* factory, bool refused)
    {
        const LateResult table = lateCall(factory, L"createReplicationTable", {1L, name_.c_str(), L""});
        if (FAILED(table.code))
            return complain(L"createReplicationTable: " + table.description);
        const LateResult result = lateCall(table.value.pdispVal, L"replicateOneWayDeleteAll");
        if (refused && (result.scode != E_FAIL || result.description.find(L"refused to " + name_) != 0 ||
                        result.source.find(name_) == std::wstring::npos))
            complain(L"wrong error: " + result.source + L": " + result.description);
        if (!refused && FAILED(result.code))
            complain(L"failed: " + result.description);
    }

    void complain(const std::wstring& complaint) { complaints_.push_back(name_ + L": " + complaint); }

    const LoadedDll& dll_;
    std::wstring name_;
    std::filesystem::path log_;
    std::vector<std::wstring> complaints_;
};

TEST(Threads, EightOfThemDoNotCross)
{
    constexpr int kThreads = 8;
    constexpr int kRounds = 200;
    const LoadedDll dll;
    std::vector<HostThread> hosts;
    for (int number = 0; number < kThreads; ++number)
        hosts.emplace_back(dll, number);
    std::vector<std::thread> threads;
    for (HostThread& host : hosts)
        threads.emplace_back([&host] { host.run(kRounds); });
    for (std::thread& thread : threads)
        thread.join();
    for (HostThread& host : hosts) {
        for (const std::wstring& complaint : host.complaints())
            ADD_FAILURE() << complaint;
        const auto [own, foreign] = host.takeEntries();
        EXPECT_GE(own, static_cast<size_t>(kRounds));
        EXPECT_EQ(foreign, 0U);
    }
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_OK);
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

} // namespace
