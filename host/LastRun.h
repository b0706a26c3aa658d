#pragma once

#include "Configuration.h"

#include <nlohmann/json.hpp>
#include <string>

/// The record of a site's last run, in a file beside the component's log: the control record tells no cause and no
/// time of an error.
class LastRun
{
public:
    static std::string path(const Configuration& configuration);

    /// Reads the file; where there is none, or one of another site, nothing is known of the last run.
    explicit LastRun(const Configuration& configuration);

    /// Notes that a run begins: should it never end, it did not end well.
    void begin();
    /// Keeps the result of a run and the ids of the conflicts that it recorded.
    void end(const nlohmann::ordered_json& result, const nlohmann::ordered_json& newConflicts);

    /// Whether the run recorded this error, for conflicts alone: errors were counted, and nothing failed.
    bool recordedForConflicts(const std::string& error) const;
    /// When the run recorded this error (UTC), and the ids of its conflicts; null and none where that is not known.
    nlohmann::ordered_json timeOf(const std::string& error) const;
    nlohmann::ordered_json conflictsOf(const std::string& error) const;

private:
    bool recorded(const std::string& error) const;
    void write(nlohmann::ordered_json content);

    std::string path_;
    std::string site_;
    nlohmann::ordered_json content_;
};
