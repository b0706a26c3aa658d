#include "RunPreview.h"
#include "commands.h"

Outcome previewCommand(const Configuration& configuration)
{
    Databases databases(configuration);
    const RunPreview preview(configuration, databases);
    nlohmann::ordered_json stops = preview.stops(false, false);
    const ExitCode exitCode = stops.empty() ? kDone : kGuarded;
    return {{{"stops", std::move(stops)}, {"deleted_rows", preview.deletedRows()}, {"tables", preview.tables()}},
            exitCode};
}
