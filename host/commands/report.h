#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// A run's result (the object that `run --json` prints) as one HTML page that needs no other file.
std::string reportPage(const nlohmann::ordered_json& result);

/// Writes the page of a run's result; whether that worked.
bool writeReport(const std::string& path, const nlohmann::ordered_json& result);
