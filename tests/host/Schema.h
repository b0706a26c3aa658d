#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// Where a value breaks the definition of that name in host/quinrep.schema.json. Knows type, required, properties,
/// additionalProperties (false), items, enum and $ref to a definition; another keyword in the schema raises.
std::vector<std::string> breachesOf(const std::string& definition, const nlohmann::json& value);
