#include "Failure.h"
#include "Session.h"
#include "cancellation.h"
#include "commands.h"
#include "commands/RetryBackoff.h"
#include "commands/rows.h"
#include "passwords.h"
#include "result_text.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <iostream>
#include <set>
#include <thread>

using namespace quinmark;
using nlohmann::ordered_json;
using Seconds = std::chrono::seconds;

namespace {

constexpr double kSecondsPerDay = 86400;
/// The control record is read again at least this often: somebody may have moved the next attempt.
constexpr Seconds kLongestWait{60};

/// Waits; false when it was cancelled.
bool wait(Seconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (!cancellation() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return !cancellation();
}

/// Runs again and again, and knows what the last attempt left.
class Watch
{
public:
    Watch(const Configuration& configuration, const RunOptions& options,
          const std::function<void(const Outcome&)>& tell)
        : configuration_(configuration),
          options_(options),
          tell_(tell)
    {
    }

    ExitCode go()
    {
        while (!cancellation()) {
            Seconds pause{0};
            try {
                pause = untilDue();
                if (pause.count() == 0) {
                    pause = attempt();
                    toldDue_ = 0;
                }
            }
            catch (...) {
                pause = fail(currentFailure());
            }
            wait(pause);
        }
        return last_;
    }

private:
    /// Until next_timestamp by the local server's clock; 0 when it is due. Raises com::Error.
    Seconds untilDue()
    {
        Databases databases(configuration_);
        ado::Recordset rs = openForwardOnly(databases.local(), L"select next_timestamp, getdate() from "
                                                               L"replication_control where unique_key = " +
                                                                   siteKey(configuration_.site));
        if (rs.eof())
            throw missingControlRecord();
        const _variant_t next = rs.field(0).value();
        const DATE now = com::toDate(rs.field(1).value());
        rs.close();
        const double seconds = com::isDate(next) ? std::ceil((com::toDate(next) - now) * kSecondsPerDay) : 0;
        if (seconds > 0 && toldDue_ != com::toDate(next)) {
            toldDue_ = com::toDate(next);
            tellPause("the next run is due", Seconds(static_cast<long long>(seconds)));
        }
        return Seconds(static_cast<long long>(std::clamp<double>(seconds, 0, kLongestWait.count())));
    }

    /// One run; the pause after it.
    Seconds attempt()
    {
        RunOptions options = options_;
        options.resetError = options_.resetError || ownErrorIsRecorded();
        const Outcome outcome = runCommand(configuration_, options);
        options_.resetError = false;
        tell_(outcome);
        last_ = outcome.exitCode;
        if (outcome.result.value("connection_lost", false))
            passing_.insert(outcome.result.value("recorded", ""));
        else if (outcome.result.contains("tables"))
            passing_.clear();
        if (outcome.exitCode != kDone && outcome.exitCode != kRecorded)
            return pauseAfterFailure();
        backoff_.reset();
        return Seconds(1);
    }

    Seconds fail(const Failure& failure)
    {
        last_ = failure.exitCode;
        // Before the first table it is the component's checks that record what fails, a lost connection too.
        if (failure.exitCode == kFailed)
            passing_.insert(failure.result["error"]["text"].get<std::string>());
        tell_({failure.result, failure.exitCode});
        return pauseAfterFailure();
    }

    Seconds pauseAfterFailure()
    {
        const Seconds pause = backoff_.next();
        tellPause("the next attempt is", pause);
        return pause;
    }

    /// Until when nothing goes on, by this machine's clock.
    void tellPause(const char* what, Seconds pause) const
    {
        if (options_.quiet)
            return;
        std::cerr << fmt::format("quinrep: {} at {}, in {}; Ctrl-C ends the watch\n", what, localTimeIn(pause),
                                 durationText(pause))
                  << std::flush;
    }

    /// Whether the control record holds only an error that this watch met and that the next attempt checks anew.
    bool ownErrorIsRecorded()
    {
        if (passing_.empty())
            return false;
        Databases databases(configuration_);
        const ordered_json rows =
            jsonRows(databases.local(), L"select error_message from replication_control where unique_key = " +
                                            siteKey(configuration_.site));
        if (rows.empty() || !rows.front()["error_message"].is_string())
            return false;
        const std::string recorded = rows.front()["error_message"];
        return !recorded.empty() && std::any_of(passing_.begin(), passing_.end(), [&](const std::string& text) {
            return text.find(recorded) != std::string::npos;
        });
    }

    const Configuration& configuration_;
    RunOptions options_;
    const std::function<void(const Outcome&)>& tell_;
    RetryBackoff backoff_;
    /// The texts of lost connections and of failures before the first table, since the last run that lost none.
    std::set<std::string> passing_;
    /// The next attempt that was told last.
    DATE toldDue_ = 0;
    ExitCode last_ = kDone;
};

} // namespace

ExitCode watchCommand(const Configuration& configuration, const RunOptions& options,
                      const std::function<void(const Outcome&)>& tell)
{
    Configuration ready = configuration;
    resolvePasswords(ready); // here: a watch asks once
    return Watch(ready, options, tell).go();
}
