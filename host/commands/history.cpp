#include "History.h"
#include "commands.h"

#include <algorithm>

using nlohmann::ordered_json;

Outcome historyCommand(const Configuration& configuration, size_t last)
{
    const ordered_json runs = History::read(configuration);
    ordered_json told = ordered_json::array();
    for (size_t index = runs.size() - std::min(runs.size(), last); index < runs.size(); ++index)
        told.push_back(toldRun(runs[index]));
    return {{{"runs", std::move(told)}}};
}
