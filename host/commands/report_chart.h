#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// The last runs of a history as HTML: a drawing, and the same as a table. Empty for less than two runs.
std::string runsChart(const nlohmann::ordered_json& runs);
