#include "LastRun.h"

#include "files.h"
#include "text.h"

#include <fstream>

using nlohmann::ordered_json;

std::string LastRun::path(const Configuration& configuration)
{
    return besideLog(configuration, ".last-run.json");
}

LastRun::LastRun(const Configuration& configuration)
    : path_(path(configuration)),
      site_(std::to_string(static_cast<int>(configuration.site)) + " " + configuration.local().dsn)
{
    std::ifstream file(toWide(path_).c_str());
    content_ = ordered_json::parse(file, nullptr, false);
    if (!content_.is_object() || content_.value("site", "") != site_)
        content_ = ordered_json::object();
}

void LastRun::begin()
{
    write({{"site", site_}, {"began", utcNow()}});
}

void LastRun::end(const ordered_json& result, const ordered_json& newConflicts)
{
    long errors = 0;
    for (const ordered_json& table : result["tables"])
        errors += table["errors"].get<long>();
    ordered_json content = content_;
    content["ended"] = utcNow();
    content["failed"] = result.contains("error");
    content["errors"] = errors;
    content["recorded"] = result["recorded"];
    content["conflicts"] = newConflicts;
    write(std::move(content));
}

bool LastRun::recorded(const std::string& error) const
{
    return !error.empty() && content_.value("recorded", "") == error;
}

bool LastRun::recordedForConflicts(const std::string& error) const
{
    return recorded(error) && content_.value("errors", 0L) > 0 && !content_.value("failed", true);
}

ordered_json LastRun::timeOf(const std::string& error) const
{
    return recorded(error) ? content_.value("ended", ordered_json()) : ordered_json();
}

ordered_json LastRun::conflictsOf(const std::string& error) const
{
    return recorded(error) ? content_.value("conflicts", ordered_json::array()) : ordered_json::array();
}

void LastRun::write(ordered_json content)
{
    content_ = std::move(content);
    std::ofstream(toWide(path_).c_str()) << content_.dump(2) << std::endl;
}
