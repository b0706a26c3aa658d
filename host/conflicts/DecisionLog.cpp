#include "conflicts/DecisionLog.h"

#include "HostError.h"
#include "files.h"
#include "identity.h"

using nlohmann::ordered_json;

DecisionLog::DecisionLog(const Configuration& configuration) : path_(path(configuration)), lines_(path_)
{
    if (!lines_.isOpen())
        throw HostError(kUsage, "the decision log " + path_ + " cannot be written, so nothing is decided",
                        lines_.reason() == ERROR_SHARING_VIOLATION
                            ? "Somebody else is deciding; try again when that has ended."
                            : kNameAnotherLog);
}

void DecisionLog::begin(const ordered_json& decision)
{
    ordered_json line = {{"time", utcNow()}, {"user", windowsUser()}};
    line.update(decision);
    require(lines_.begin(line));
}

void DecisionLog::end(const std::string& outcome)
{
    require(lines_.end({{"outcome", outcome}}));
}

ordered_json DecisionLog::read(const Configuration& configuration)
{
    ordered_json decisions = ordered_json::array();
    for (ordered_json& decision : JsonLines::read(path(configuration), "the decision log")) {
        if (!decision.contains("lost_row"))
            continue; // broken off before it was written, so that nothing was done
        if (!decision.contains("outcome"))
            decision["outcome"] = "broken off";
        decisions.push_back(std::move(decision));
    }
    return decisions;
}

std::string DecisionLog::path(const Configuration& configuration)
{
    return besideLog(configuration, ".decisions.jsonl");
}

void DecisionLog::require(bool written) const
{
    if (!written)
        throw HostError(kFailed, "the decision log " + path_ + " cannot be written",
                        "Look whether its disk is full. The decision that it could not take was not carried out, or "
                        "its outcome is missing there.");
}
