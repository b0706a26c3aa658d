#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// The result of `explain` for a person to read.
std::string explainText(const nlohmann::ordered_json& result);
