#pragma once

#include "Configuration.h"
#include "JsonLines.h"

#include <nlohmann/json.hpp>
#include <string>

/// A file beside the component's log with one JSON object in a line for each decision about conflicts. A line is
/// written before the decision is carried out and completed with its outcome afterwards, so that a decision that was
/// broken off can be read too. Nobody else decides while one of these lives.
class DecisionLog
{
public:
    /// Raises HostError(kUsage) when the file cannot be written, or somebody else is deciding.
    explicit DecisionLog(const Configuration& configuration);

    /// Begins the line of a decision, with time and user in front. Raises HostError(kFailed) when it cannot be written.
    void begin(const nlohmann::ordered_json& decision);
    /// Completes the line.
    void end(const std::string& outcome);

    /// All decisions; that of a line without its end has the outcome "broken off".
    static nlohmann::ordered_json read(const Configuration& configuration);
    static std::string path(const Configuration& configuration);

private:
    void require(bool written) const;

    std::string path_;
    JsonLines lines_;
};
