#pragma once

#include <nlohmann/json.hpp>
#include <string>

struct Configuration;

/// A run's result (the object that `run --json` prints, or that of a failure) as one HTML page that needs no other
/// file. `runs` are those that the history knows, this one among them. Without a configuration nothing but the failure
/// is known.
std::string reportPage(const nlohmann::ordered_json& result, const nlohmann::ordered_json& runs,
                       const Configuration* configuration);

/// Raises HostError(kUsage) when no page can be written to this file.
void requireReport(const std::string& path);

/// Writes the page of a run's result; whether that worked. A page that cannot be written is told on standard error, and
/// leaves the page that is there.
bool writeReport(const std::string& path, const nlohmann::ordered_json& result, const Configuration* configuration);
