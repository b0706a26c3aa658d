// Fails every call into ADO, every allocation and every log entry of small runs, one by one, and says what was not as
// it must be.
//
//   fault_runs [--seed N] [--minutes M] [--case NAME] [--list]
//
// A case is a scenario and a fault, as --list prints them ("one way at the offices: ado lost once 17"), or words of
// such a name ("one way at the offices:", "ado lost once").

#include "FaultBench.h"
#include "control/settings.h"
#include "support/Apartment.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>

using namespace quinmark;

namespace {

constexpr int kSkipped = 77;
constexpr double kShortMinutes = 0.9;

struct Options
{
    unsigned seed = std::random_device()();
    double minutes = kShortMinutes;
    std::string only;
    bool list = false;
};

/// Faults of one kind in one scenario.
struct Bucket
{
    const Scenario* scenario;
    std::vector<Fault> faults;
};

/// How often a kind of fault was tried, and how often something was found.
struct Tally
{
    const char* what;
    size_t tried = 0;
    size_t found = 0;
};

std::string narrow(const std::wstring& text)
{
    std::string result(text.size() * 3 + 1, '\0');
    const int length = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), result.data(),
                                           static_cast<int>(result.size()), nullptr, nullptr);
    result.resize(static_cast<size_t>(length));
    return result;
}

/// What is being tried, for a crash to tell.
std::string g_case;

LONG WINAPI tellCrash(EXCEPTION_POINTERS*)
{
    std::printf("crashed: %s\n", g_case.c_str());
    std::fflush(stdout);
    return EXCEPTION_CONTINUE_SEARCH;
}

std::string nameOf(const Scenario& scenario, const Fault& fault)
{
    return narrow(scenario.name + L": " + nameOf(fault));
}

void addAdoBuckets(std::vector<Bucket>& buckets, const Scenario& scenario, size_t calls)
{
    for (const AdoFaultKind kind :
         {AdoFaultKind::Refused, AdoFaultKind::Lost, AdoFaultKind::Closed, AdoFaultKind::NoMemory})
        for (const bool lasting : {false, true}) {
            if (lasting && kind == AdoFaultKind::Closed)
                continue; // closed is closed
            Bucket& bucket = buckets.emplace_back(Bucket{&scenario, {}});
            for (size_t call = 1; call <= calls; ++call)
                bucket.faults.push_back(AdoFault{kind, lasting, call});
        }
}

void addMemoryBuckets(std::vector<Bucket>& buckets, const Scenario& scenario, size_t allocations)
{
    for (const bool lasting : {false, true}) {
        Bucket& bucket = buckets.emplace_back(Bucket{&scenario, {}});
        for (size_t at = 1; at <= allocations; ++at)
            bucket.faults.push_back(allocations::Fault{at, lasting});
    }
}

void addLogBucket(std::vector<Bucket>& buckets, const Scenario& scenario, size_t entries)
{
    Bucket& bucket = buckets.emplace_back(Bucket{&scenario, {}});
    for (const LogFaultKind kind : {LogFaultKind::DiskFull, LogFaultKind::Locked, LogFaultKind::DirectoryRemoved})
        for (size_t entry = 1; entry <= entries; ++entry)
            bucket.faults.push_back(LogFault{kind, entry});
}

std::vector<Bucket> allFaults(FaultBench& bench)
{
    std::vector<Bucket> buckets;
    for (const Scenario& scenario : bench.scenarios()) {
        const Reference& reference = bench.reference(scenario);
        addAdoBuckets(buckets, scenario, reference.journal.calls().size());
        addMemoryBuckets(buckets, scenario, reference.allocations);
        addLogBucket(buckets, scenario, reference.log.size());
    }
    return buckets;
}

class Campaign
{
public:
    Campaign(FaultBench& bench, const Options& options) : bench_(bench), options_(options) {}

    int run()
    {
        std::vector<Bucket> buckets = allFaults(bench_);
        std::mt19937 random(options_.seed);
        size_t total = 0;
        for (Bucket& bucket : buckets) {
            std::ranges::shuffle(bucket.faults, random);
            total += bucket.faults.size();
        }
        std::ranges::shuffle(buckets, random);
        std::printf("seed %u: %zu faults in %zu scenarios\n", options_.seed, total, bench_.scenarios().size());
        takeTurns(buckets);
        return report();
    }

private:
    /// One fault of every kind and scenario after the other, until all are tried or the time is over.
    void takeTurns(const std::vector<Bucket>& buckets)
    {
        using Clock = std::chrono::steady_clock;
        const auto end = Clock::now() + std::chrono::duration<double>(options_.minutes * 60);
        bool more = true;
        for (size_t turn = 0; more; ++turn) {
            more = false;
            for (const Bucket& bucket : buckets) {
                if (turn >= bucket.faults.size())
                    continue;
                if (Clock::now() >= end)
                    return;
                more = true;
                consider(*bucket.scenario, bucket.faults[turn]);
            }
        }
    }

    void consider(const Scenario& scenario, const Fault& fault)
    {
        const std::string name = nameOf(scenario, fault);
        if (!isWanted(name))
            return;
        if (options_.list) {
            std::printf("%s\n", name.c_str());
            return;
        }
        Tally& tally = tallies_[fault.index()];
        ++tally.tried;
        g_case = name;
        const std::vector<std::wstring> complaints = complaintsOf(scenario, fault);
        if (complaints.empty())
            return;
        ++tally.found;
        std::printf("%s\n", name.c_str());
        for (const std::wstring& complaint : complaints)
            std::printf("    %s\n", narrow(complaint).c_str());
        std::fflush(stdout);
    }

    bool isWanted(const std::string& name) const
    {
        return options_.only.empty() || (name + " ").find(options_.only + " ") != std::string::npos;
    }

    /// A database that does not answer as it should any more, such as a lock that was left behind, counts as found.
    std::vector<std::wstring> complaintsOf(const Scenario& scenario, const Fault& fault)
    {
        try {
            return bench_.run(scenario, fault);
        }
        catch (const com::Error& error) {
            return {error.source + L": " + error.description};
        }
    }

    int report() const
    {
        bool found = false;
        for (const Tally& tally : tallies_) {
            std::printf("tried %s: %zu, found: %zu\n", tally.what, tally.tried, tally.found);
            found = found || tally.found > 0;
        }
        return found ? EXIT_FAILURE : EXIT_SUCCESS;
    }

    FaultBench& bench_;
    const Options& options_;
    Tally tallies_[3] = {{"failing calls into ADO"}, {"failing allocations"}, {"failing log entries"}};
};

Options parse(int count, char** arguments)
{
    Options options;
    for (int index = 1; index < count; ++index) {
        const std::string name = arguments[index];
        const char* value = index + 1 < count ? arguments[index + 1] : "";
        if (name == "--list") {
            options.list = true;
            continue;
        }
        ++index;
        if (name == "--seed")
            options.seed = static_cast<unsigned>(std::strtoul(value, nullptr, 10));
        else if (name == "--minutes")
            options.minutes = std::strtod(value, nullptr);
        else if (name == "--case")
            options.only = value;
        else
            throw std::invalid_argument("unknown option " + name);
    }
    return options;
}

/// Without databases and a display there is nothing to try.
int missing(const wchar_t* what, const wchar_t* required)
{
    std::printf("%s\n", narrow(what).c_str());
    return Pair::setting(required) == L"1" ? EXIT_FAILURE : kSkipped;
}

} // namespace

int main(int count, char** arguments)
{
    if (!Pair::isPostgreSql()) {
        std::printf("needs PostgreSQL: QUINMARK_SERVER names another server\n");
        return kSkipped;
    }
    if (!Pair::isConfigured())
        return missing(L"the settings of the databases are missing", L"QUINMARK_REQUIRE_DATABASE");
    if (Pair::setting(L"DISPLAY").empty())
        return missing(L"message boxes need a display: set DISPLAY", L"QUINMARK_REQUIRE_DISPLAY");
    try {
        const Options options = parse(count, arguments);
        SetUnhandledExceptionFilter(tellCrash);
        const Apartment apartment;
        attachComponent(nullptr);
        allocations::watch();
        FaultBench bench;
        return Campaign(bench, options).run();
    }
    catch (const com::Error& error) {
        std::printf("%s: %s\n", narrow(error.source).c_str(), narrow(error.description).c_str());
    }
    catch (const std::exception& error) {
        std::printf("%s\n", error.what());
    }
    return 2;
}
