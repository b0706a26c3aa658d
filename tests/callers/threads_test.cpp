#include "NamedPair.h"
#include "support/Apartment.h"
#include "support/BuiltDll.h"
#include "support/Holdings.h"
#include "support/LateCall.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <fstream>
#include <iostream>
#include <iterator>
#include <latch>
#include <regex>
#include <thread>

using Microsoft::WRL::ComPtr;

namespace {

using Transcript = std::vector<std::wstring>;

struct Table
{
    long method;
    std::wstring name;
    std::wstring keyField = {};
};

/// A host with a pair, settings and a log of its own, which keeps word for word what it sent and what it was told.
class NamedHost
{
public:
    NamedHost(const LoadedDll& dll, int number)
        : dll_(dll),
          pair_(number),
          site_(pair_.isOffices() ? 0 : 1),
          logLevel_(number % 3 + 1)
    {
    }

    const NamedPair& pair() const { return pair_; }

    /// A run over tables of every method, and one that the server refuses in the middle.
    Transcript run()
    {
        RecordingAdo ado;
        ado.answerOthers([this](const std::wstring& connection, const std::wstring& statement) {
            SwitchToThread(); // between any two statements the others go on
            return pair_.answer(connection, statement);
        });
        std::filesystem::remove(log_);
        transcript_.clear();
        {
            const ComPtr<_Factory> factory = dll_.createFactory();
            connect(*factory.Get());
            replicate(*factory.Get());
            ado.failStatement(L"Delete from " + pair_.name() + L"copied", {E_FAIL, L"refused to " + pair_.name()});
            replicate(*factory.Get());
            note(L"ensureReplication", lateCall(factory.Get(), L"ensureReplication"));
            note(L"sErrorMessage", lateGet(factory.Get(), L"sErrorMessage"));
            note(L"disconnect", lateCall(factory.Get(), L"disconnect"));
        }
        for (const auto& [connection, statement] : ado.statements())
            transcript_.push_back(connection + L"> " + statement);
        transcript_.push_back(L"objects left: " + std::to_wstring(ado.liveObjects()));
        noteLog();
        return transcript_;
    }

private:
    void connect(_Factory& factory)
    {
        const std::wstring name = pair_.name();
        note(L"init",
             lateCall(&factory, L"init",
                      {site_, pair_.isOffices() ? L"SOURCE" : L"DESTINATION", pair_.sourcePrefix().c_str(),
                       (name + L"office").c_str(), (name + L"secret").c_str(), pair_.destinationPrefix().c_str(),
                       (name + L"laptop").c_str(), (name + L"secret").c_str(), logLevel_, log_.c_str()}));
    }

    void replicate(_Factory& factory)
    {
        const LateResult run = lateCall(&factory, L"createReplication");
        note(L"createReplication", run);
        note(L"initNextRun", lateCall(run.value.pdispVal, L"initNextRun", {600L + site_, L"LAPTOP"}));
        std::vector<_variant_t> tables;
        for (const Table& table : tables_) {
            const LateResult created = lateCall(&factory, L"createReplicationTable",
                                                {table.method, table.name.c_str(), L"", table.keyField.c_str(), 2L});
            note(L"createReplicationTable " + table.name, created);
            tables.push_back(created.value);
        }
        note(L"go", lateCall(run.value.pdispVal, L"go", {arrayOf(tables)}));
        for (const wchar_t* property : {L"bError", L"bReady", L"sErrorMessage", L"dLastReplicate", L"dNextReplicate"})
            note(property, lateGet(run.value.pdispVal, property));
        for (const _variant_t& table : tables)
            for (const wchar_t* counter : {L"lCntSourceAdd", L"lCntSourceUpdate", L"lCntSourceDelete", L"lCntDestAdd",
                                           L"lCntDestUpdate", L"lCntDestDelete", L"lCntConflict", L"lCntError"})
                note(counter, lateGet(table.pdispVal, counter));
    }

    void note(const std::wstring& member, const LateResult& result)
    {
        std::wstring value;
        if (result.value.vt != VT_DISPATCH && result.value.vt != VT_EMPTY)
            value = static_cast<const wchar_t*>(_bstr_t(result.value));
        transcript_.push_back(member + L": " + std::to_wstring(result.code) + L" " + std::to_wstring(result.scode) +
                              L" " + result.source + L": " + result.description + L" = " + value);
    }

    /// The log without the times of its entries; removes the file.
    void noteLog()
    {
        std::ifstream file(log_, std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        file.close();
        std::filesystem::remove(log_);
        static const std::regex time(R"(\r\n\d+/\d+/\d+( \d+:\d\d:\d\d [AP]M)?: )");
        const std::string entries = std::regex_replace(text, time, "\r\n");
        transcript_.emplace_back(entries.begin(), entries.end());
    }

    const LoadedDll& dll_;
    NamedPair pair_;
    long site_;
    long logLevel_;
    const TemporaryFolder folder_;
    const std::filesystem::path log_ = folder_.file(L"replication.log");
    std::vector<Table> tables_ = {{3, pair_.name() + L"deletes"},
                                  {2, L"shortcut"},
                                  {7, pair_.name() + L"key", L"unid"},
                                  {4, pair_.name() + L"both"},
                                  {1, pair_.name() + L"copied"}};
    Transcript transcript_;
};

/// The first lines that differ; empty when none do.
std::wstring difference(const Transcript& expected, const Transcript& actual)
{
    const auto [wanted, found] = std::ranges::mismatch(expected, actual);
    const auto text = [](const Transcript& all, auto line) { return line == all.end() ? L"<nothing>" : *line; };
    return wanted == expected.end() && found == actual.end()
               ? L""
               : L"expected " + text(expected, wanted) + L"\n   found " + text(actual, found);
}

/// How many lines of the transcript have this part.
size_t countOf(const Transcript& transcript, const std::wstring& part)
{
    const auto has = [&part](const std::wstring& line) { return line.find(part) != std::wstring::npos; };
    return static_cast<size_t>(std::ranges::count_if(transcript, has));
}

/// Runs `action` in `count` threads, which begin together.
template <class Action>
void inThreads(int count, Action action)
{
    std::latch begin(count);
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number)
        threads.emplace_back([&begin, &action, number] {
            const Apartment apartment;
            begin.arrive_and_wait();
            action(number);
        });
    for (std::thread& thread : threads)
        thread.join();
}

constexpr int kThreads = 8;

/// A run alone does what its pair asks for: else two wrong ones could agree.
void judgeAlone(const NamedHost& host, const Transcript& alone)
{
    const NamedPair& pair = host.pair();
    const std::wstring own = pair.name();
    for (int other = 0; other < kThreads; ++other) {
        const std::wstring name = NamedPair(other).name();
        EXPECT_EQ(countOf(alone, name) > 0, name == own) << own;
    }
    EXPECT_GE(countOf(alone, L"refused to " + own), 2U) << own;
    EXPECT_GE(countOf(alone, L"InsertReplicationConflict("), 2U) << own;
    EXPECT_GE(countOf(alone, L"= earlier error of " + own), 1U) << own;
    EXPECT_GE(countOf(alone, L"Delete from " + own + L"copied"), 2U) << own;
    EXPECT_EQ(countOf(alone, L"objects left: 0"), 1U) << own;
    EXPECT_EQ(countOf(alone, L"lCntDestAdd: 0 0 :  = " + std::to_wstring(pair.copied())), 1U) << own;
    EXPECT_GE(countOf(alone, L"lCntDestUpdate: 0 0 :  = " + std::to_wstring(pair.changed())), 4U) << own;
    EXPECT_GE(countOf(alone, L"lCntDestAdd: 0 0 :  = " + std::to_wstring(pair.missingInDestination())), 6U) << own;
    if (pair.isOffices()) {
        EXPECT_GE(countOf(alone, L"lCntDestDelete: 0 0 :  = " + std::to_wstring(pair.missingInSource())), 4U) << own;
        EXPECT_GE(countOf(alone, L"SetReplicationError"), 2U) << own;
    }
    if (testing::Test::HasFailure())
        for (const std::wstring& line : alone)
            std::wcout << line << L'\n';
}

} // namespace

TEST(Threads, DoWhatEachOfThemDoesAlone)
{
    constexpr int kRounds = 3;
    const LoadedDll dll;
    std::deque<NamedHost> hosts;
    std::vector<Transcript> alone;
    std::vector<std::wstring> crossed(kThreads);
    for (int number = 0; number < kThreads; ++number) {
        hosts.emplace_back(dll, number);
        std::thread([&] {
            const Apartment apartment;
            alone.push_back(hosts.back().run());
        }).join();
        judgeAlone(hosts.back(), alone.back());
    }

    inThreads(kThreads, [&](int number) {
        const size_t index = static_cast<size_t>(number);
        for (int round = 0; round < kRounds && crossed[index].empty(); ++round)
            crossed[index] = difference(alone[index], hosts[index].run());
    });

    for (const std::wstring& difference : crossed)
        EXPECT_EQ(difference, L"");
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_OK);
}

TEST(RunsByAllMethods, LeaveNothingInTheProcess)
{
    constexpr int kWarmUp = 3;
    constexpr int kRuns = 8;
    const Apartment apartment;
    withoutTextCache();
    const LoadedDll dll;
    NamedHost host(dll, 2);
    for (int run = 0; run < kWarmUp; ++run)
        host.run();
    const size_t bytes = heapBytesInUse();
    const size_t handles = handleCount();
    ASSERT_GT(bytes, 0U);

    for (int run = 0; run < kRuns; ++run)
        host.run();

    EXPECT_LT(heapBytesInUse(), bytes + kRuns);
    EXPECT_LE(handleCount(), handles);
    EXPECT_EQ(dll.call("DllCanUnloadNow"), S_OK);
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
