// Fails every call into ADO, every allocation and every log entry of small runs, one by one, and reports the
// differences from the expected behaviour.
//
//   fault_runs [--seed N] [--minutes M] [--first PLACE [of TOTAL]] [--case NAME] [--list]
//
// Tries one fault of each kind in each scenario, or as many as fit into the minutes. A line at the end tells how to go
// on with the others: "next: --seed 4 --first 9874 of 78656". With the same seed the next night begins there. A case is
// a scenario and a fault, as --list prints them ("one way at the offices: ado lost once 17"), or words of such a name
// ("one way at the offices:", "ado lost once").

#include "FaultOrder.h"
#include "FaultTrials.h"
#include "control/settings.h"
#include "support/Apartment.h"
#include "support/Options.h"
#include "support/Requirements.h"
#include "support/TextLine.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

using namespace quinmark;

namespace {

constexpr int kSkipped = 77;

/// Faults of one kind in one scenario.
struct Bucket
{
    const Scenario* scenario;
    std::vector<Fault> faults;
};

/// The number of trials of a kind of fault, and of those that found something.
struct Tally
{
    const char* what;
    size_t tried = 0;
    size_t found = 0;
};

/// The current trial, which the report of a crash names.
std::string g_case;

LONG WINAPI tellCrash(EXCEPTION_POINTERS*)
{
    std::printf("crashed: %s\n", g_case.c_str());
    std::fflush(stdout);
    return EXCEPTION_CONTINUE_SEARCH;
}

std::string nameOf(const Scenario& scenario, const Fault& fault)
{
    return toUtf8(scenario.name + L": " + nameOf(fault));
}

void addBuckets(std::vector<Bucket>& buckets, const Scenario& scenario, const Reference& reference)
{
    const auto add = [&](size_t count, const auto& faultAt) {
        Bucket& bucket = buckets.emplace_back(Bucket{&scenario, {}});
        for (size_t number = 1; number <= count; ++number)
            bucket.faults.push_back(faultAt(number));
    };
    for (const bool lasting : {false, true}) {
        for (const AdoFaultKind kind :
             {AdoFaultKind::Refused, AdoFaultKind::Lost, AdoFaultKind::Closed, AdoFaultKind::NoMemory})
            if (!lasting || kind != AdoFaultKind::Closed) // closed is closed
                add(reference.journal.calls().size(), [&](size_t call) { return AdoFault{kind, lasting, call}; });
        add(reference.allocations, [&](size_t at) { return allocations::Fault{at, lasting}; });
    }
    constexpr LogFaultKind kLogKinds[] = {LogFaultKind::DiskFull, LogFaultKind::Locked, LogFaultKind::DirectoryRemoved};
    add(reference.logEntries * std::size(kLogKinds), [&](size_t number) {
        return LogFault{kLogKinds[number % std::size(kLogKinds)], (number - 1) / std::size(kLogKinds) + 1};
    });
}

class Campaign
{
public:
    Campaign(FaultTrials& trials, Options options) : trials_(trials), options_(std::move(options))
    {
        for (const Scenario& scenario : trials.scenarios())
            addBuckets(buckets_, scenario, trials.reference(scenario));
    }

    int run()
    {
        std::vector<size_t> sizes;
        for (const Bucket& bucket : buckets_)
            sizes.push_back(bucket.faults.size());
        const FaultOrder order(sizes, seed_);
        if (total_ != 0 && total_ != order.total())
            throw std::invalid_argument("there are " + std::to_string(order.total()) +
                                        " faults, so that places in an order of others say nothing: leave out --first");
        std::printf("seed %u: %zu faults in %zu scenarios\n", seed_, order.total(), trials_.scenarios().size());
        const size_t next = order.attempt(
            first_, [this] { return mayGoOn(); },
            [this](const FaultOrder::Fault& fault) {
                const Bucket& bucket = buckets_[fault.first];
                consider(*bucket.scenario, bucket.faults[fault.second]);
            });
        return report(next, order.total());
    }

private:
    using Clock = std::chrono::steady_clock;

    /// A case or a list is looked for among all.
    bool mayGoOn()
    {
        if (minutes_ > 0)
            return Clock::now() - begun_ < std::chrono::duration<double>(minutes_ * 60);
        return list_ || !only_.empty() || considered_ < buckets_.size();
    }

    void consider(const Scenario& scenario, const Fault& fault)
    {
        ++considered_;
        const std::string name = nameOf(scenario, fault);
        if (!isWanted(name))
            return;
        if (list_) {
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
            std::printf("    %s\n", toUtf8(complaint).c_str());
        std::fflush(stdout);
    }

    bool isWanted(const std::string& name) const
    {
        return only_.empty() || (name + " ").find(only_ + " ") != std::string::npos;
    }

    /// A database that does not answer as it should, for example because of a lock that was left, counts as found.
    std::vector<std::wstring> complaintsOf(const Scenario& scenario, const Fault& fault)
    {
        try {
            return trials_.attempt(scenario, fault);
        }
        catch (const com::Error& error) {
            return {error.source + L": " + error.description};
        }
    }

    int report(size_t next, size_t total) const
    {
        bool found = false;
        if (next > total)
            std::printf("next: none, these were the last of %zu\n", total);
        else
            std::printf("next: --seed %u --first %zu of %zu\n", seed_, next, total);
        for (const Tally& tally : tallies_) {
            std::printf("tried %s: %zu, found: %zu\n", tally.what, tally.tried, tally.found);
            found = found || tally.found > 0;
        }
        return found ? EXIT_FAILURE : EXIT_SUCCESS;
    }

    FaultTrials& trials_;
    const Options options_;
    const unsigned seed_ = options_.number("--seed", 1U);
    const double minutes_ = options_.real("--minutes");
    const size_t first_ = std::max<size_t>(options_.number<size_t>("--first", 1), 1);
    const size_t total_ = options_.number<size_t>("of", 0); ///< 0 when it was not told
    const std::string only_ = options_.text("--case");
    const bool list_ = options_.has("--list");
    const Clock::time_point begun_ = Clock::now();
    std::vector<Bucket> buckets_;
    size_t considered_ = 0;
    Tally tallies_[3] = {{"failing calls into ADO"}, {"failing allocations"}, {"failing log entries"}};
};

} // namespace

int main(int count, char** arguments)
{
    if (const std::wstring missing = missingDatabaseSetting(); !missing.empty()) {
        std::printf("%s is not set\n", toUtf8(missing).c_str());
        return setting(L"QUINMARK_REQUIRE_DATABASE") == L"1" ? EXIT_FAILURE : kSkipped;
    }
    try {
        const Options options(count, arguments, {"--seed", "--minutes", "--first", "of", "--case", "--list"});
        SetUnhandledExceptionFilter(tellCrash);
        const Apartment apartment;
        attachComponent(nullptr);
        allocations::watch();
        FaultTrials trials;
        return Campaign(trials, options).run();
    }
    catch (const com::Error& error) {
        std::printf("%s: %s\n", toUtf8(error.source).c_str(), toUtf8(error.description).c_str());
    }
    catch (const std::exception& error) {
        std::printf("%s\n", error.what());
    }
    return 2;
}
