#include "result_text.h"

using nlohmann::ordered_json;

std::string resultText(const ordered_json& value)
{
    return value.is_string() ? value.get<std::string>() : value.is_null() ? "" : value.dump();
}

std::string tablesNotDone(const ordered_json& tables)
{
    std::string names;
    for (const ordered_json& table : tables)
        if (!table.value("done", true))
            names += (names.empty() ? "" : ", ") + resultText(table["table"]);
    return names;
}
