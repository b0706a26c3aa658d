#include "Preview.h"
#include "commands.h"

using nlohmann::ordered_json;

namespace {

ordered_json toJson(const TablePreview& preview)
{
    return {{"table", preview.name},
            {"method", methodName(preview.method)},
            {"destination_rows", preview.destinationRows},
            {"updates", preview.destinationUpdates},
            {"adds", preview.destinationAdds},
            {"deletes", preview.destinationDeletes},
            {"source_updates", preview.sourceUpdates},
            {"source_adds", preview.sourceAdds},
            {"conflicts", preview.conflicts}};
}

} // namespace

Outcome previewCommand(const Configuration& configuration)
{
    Databases databases(configuration);
    const DATE last = lastReplicateDate(configuration, databases);
    ordered_json tables = ordered_json::array();
    for (const TableConfiguration& table : configuration.tables)
        tables.push_back(toJson(previewTable(configuration, databases, table, last)));
    return {{{"tables", std::move(tables)}}};
}
