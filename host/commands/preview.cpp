#include "Look.h"
#include "commands.h"

Outcome previewCommand(const Configuration& configuration)
{
    Databases databases(configuration);
    const LookAhead look(configuration, databases);
    nlohmann::ordered_json stops = look.stops(false, false);
    const ExitCode exitCode = stops.empty() ? kDone : kGuarded;
    return {{{"stops", std::move(stops)}, {"deleted_rows", look.deletedRows()}, {"tables", look.tables()}}, exitCode};
}
