#include "History.h"

#include "HostError.h"
#include "SiteLock.h"
#include "commands/rows.h"
#include "files.h"
#include "result_text.h"
#include "text.h"

#include <algorithm>
#include <initializer_list>

using nlohmann::ordered_json;

namespace {

constexpr unsigned long long kLargest = 1 << 20;
/// Runs that a shortened file keeps.
constexpr size_t kKept = 1000;
/// Bytes of an error's text.
constexpr size_t kLongestError = 500;

/// The members that results tell.
constexpr const char* kTold[] = {
    "began",          "ended",         "took_ms",           "outcome",     "exit_code",
    "adds",           "updates",       "deletes",           "source_adds", "source_updates",
    "source_deletes", "conflicts_new", "conflicts_waiting", "error"};
constexpr const char* kCounters[] = {"adds", "updates", "deletes", "source_adds", "source_updates", "source_deletes"};

std::string siteAndDatabase(const Configuration& configuration)
{
    return std::to_string(static_cast<int>(configuration.site)) + " " + configuration.local().dsn;
}

/// Keeps the last lines, without the ids of conflicts but for those of the last run that wrote: nobody asks for others.
/// Where the file cannot be replaced, it stays as it is.
void shorten(const std::string& path)
{
    ordered_json runs = JsonLines::read(path, "the history");
    std::string shorter;
    for (size_t index = runs.size() - std::min(runs.size(), kKept); index < runs.size(); ++index) {
        if (runs[index].contains("writing_since") && std::any_of(runs.begin() + static_cast<std::ptrdiff_t>(index) + 1,
                                                                 runs.end(), [&](const ordered_json& later) {
                                                                     return later.contains("writing_since") &&
                                                                            later["site"] == runs[index]["site"];
                                                                 }))
            runs[index].erase("conflicts");
        shorter += runs[index].dump() + '\n';
    }
    replaceFile(path, shorter);
}

/// The path, of a file that is not too large.
std::string shortened(const std::string& path)
{
    WIN32_FILE_ATTRIBUTE_DATA file{};
    if (GetFileAttributesExW(toWide(path).c_str(), GetFileExInfoStandard, &file) && file.nFileSizeLow > kLargest)
        shorten(path);
    return path;
}

std::string cut(std::string text)
{
    if (text.size() <= kLongestError)
        return text;
    size_t end = kLongestError;
    while (end > 0 && (text[end] & 0xC0) == 0x80) // within a character
        --end;
    return text.substr(0, end) + " ...";
}

/// Why a run did not go through, or what it recorded, in short.
std::string errorOf(const ordered_json& result)
{
    if (result.contains("error"))
        return cut(result["error"]["text"]);
    if (result.contains("stops") && !result["stops"].empty())
        return cut(stopHeading(result["stops"].front()) + ": " + resultText(result["stops"].front()["text"]));
    return cut(resultText(result.value("recorded", ordered_json())));
}

/// The sum over all tables; null when it is not known for one.
ordered_json sum(const ordered_json& tables, const char* counter)
{
    long long sum = 0;
    for (const ordered_json& table : tables) {
        if (table[counter].is_null())
            return nullptr;
        sum += table[counter].get<long long>();
    }
    return sum;
}

const char* outcomeOf(const ordered_json& run, bool goesOn)
{
    if (!run["exit_code"].is_number_integer())
        return goesOn ? "running" : "broken off";
    switch (run["exit_code"].get<int>()) {
    case kDone:
        return "done";
    case kRecorded:
        return "conflicts";
    case kNotReady:
        return "refused";
    case kGuarded:
        return "stopped";
    default:
        return "failed";
    }
}

} // namespace

History::History(const Configuration& configuration) : lines_(shortened(path(configuration)))
{
    whole_ = lines_.isOpen() && lines_.begin({{"site", siteAndDatabase(configuration)},
                                              {"remote", configuration.remote().dsn},
                                              {"began", utcNow()}});
    if (!whole_)
        throw HostError(kUsage, "the history " + path(configuration) + " cannot be written",
                        adviceOnFile(lines_.reason(), kNameAnotherLog));
}

void History::noteWriting()
{
    wrote_ = true;
    whole_ = lines_.add({{"writing_since", utcNow()}}) && whole_;
}

void History::noteRecords(const ordered_json& conflicts, const ordered_json& lastTimestamp)
{
    whole_ = lines_.add({{"conflicts", conflicts}, {"last_timestamp", lastTimestamp}}) && whole_;
}

bool History::end(const ordered_json& result, int exitCode, long long tookMs)
{
    ordered_json members = {{"ended", utcNow()}, {"took_ms", tookMs}, {"exit_code", exitCode}};
    const bool hasCounters = wrote_ && result.contains("tables");
    for (const char* counter : kCounters)
        members[counter] = hasCounters ? sum(result["tables"], counter) : ordered_json();
    for (const char* number : {"conflicts_new", "conflicts_waiting"})
        members[number] = result.value(number, ordered_json());
    members["error"] = errorOf(result);
    if (wrote_) {
        members["failed"] = result.contains("error");
        members["errors"] = hasCounters ? sum(result["tables"], "errors") : ordered_json(0);
        members["recorded"] = result.value("recorded", "");
    }
    return lines_.end(members) && whole_;
}

std::string History::path(const Configuration& configuration)
{
    return besideLog(configuration, ".history.jsonl");
}

ordered_json History::read(const Configuration& configuration)
{
    ordered_json runs = ordered_json::array();
    const std::string site = siteAndDatabase(configuration);
    for (ordered_json& line : JsonLines::read(path(configuration), "the history")) {
        if (line.value("site", ordered_json()) != site || !line.contains("began"))
            continue;
        ordered_json run;
        for (const char* member : kTold)
            run[member] = nullptr;
        run.update(line);
        run["outcome"] = outcomeOf(run, false);
        runs.push_back(std::move(run));
    }
    if (!runs.empty())
        runs.back()["outcome"] = outcomeOf(runs.back(), SiteLock::isHeld(configuration));
    return runs;
}

ordered_json toldRun(const ordered_json& run)
{
    ordered_json told;
    for (const char* member : kTold)
        told[member] = run[member];
    return told;
}

std::optional<DATE> lastTimestampLeft(const Configuration& configuration, const ordered_json& runs)
{
    for (auto run = runs.rbegin(); run != runs.rend(); ++run)
        if (run->value("remote", "") == configuration.remote().dsn)
            if (const std::optional<DATE> left = dateOf(resultText(run->value("last_timestamp", ordered_json()))))
                return left;
    return std::nullopt;
}

bool wentThrough(const ordered_json& run)
{
    return run["exit_code"] == kDone || run["exit_code"] == kRecorded;
}

RecordedError::RecordedError(const ordered_json& runs, const std::string& error)
{
    const auto last =
        std::find_if(runs.rbegin(), runs.rend(), [](const ordered_json& run) { return run.contains("writing_since"); });
    if (last == runs.rend() || error.empty() || last->value("recorded", "") != error)
        return;
    forConflicts = last->value("errors", 0L) > 0 && !last->value("failed", true);
    at = last->value("ended", ordered_json());
    conflicts = last->value("conflicts", ordered_json::array());
}

bool errorWaits(const Configuration& configuration, const ordered_json& control, const ordered_json& runs)
{
    return control["error_f"] == true && !(configuration.onConflicts == OnConflicts::Continue &&
                                           RecordedError(runs, resultText(control["error_message"])).forConflicts);
}
