#pragma once

#include "Configuration.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Variables of the environment by their names.
using EnvironmentVariables = std::vector<std::pair<std::string, std::string>>;

/// Runs a command of the configuration as `cmd /c` does, and tells how it failed: with the end of its output, or that
/// it did not end in time or was cancelled, and was ended with all that it had started. Nothing when it ended with 0.
///
/// It inherits the environment without the variables that hold passwords, gets `variables` and, as QUINREP_RESULT, the
/// path of a file with `result`, which is there for as long as the command runs. Its output, of which the last
/// megabyte, goes to standard error unless `quiet`.
std::optional<std::string> hookFailure(const Configuration& configuration, const std::string& command,
                                       const EnvironmentVariables& variables, const nlohmann::ordered_json& result,
                                       bool quiet);
