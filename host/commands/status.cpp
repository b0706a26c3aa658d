#include "Session.h"
#include "commands.h"
#include "commands/rows.h"

#include <deque>
#include <fstream>

using nlohmann::ordered_json;

namespace {

constexpr size_t kShownLogErrors = 5;

/// The last entries of the component's log that tell of a discrepancy or an error.
ordered_json lastLogErrors(const std::string& path)
{
    std::ifstream file(toWide(path).c_str());
    std::deque<std::string> found;
    for (std::string line; std::getline(file, line);) {
        if (line.find(": ERROR: ") == std::string::npos && line.find(": WARN : Replication") == std::string::npos)
            continue;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        found.push_back(toUtf8(fromAnsi(line)));
        if (found.size() > kShownLogErrors)
            found.pop_front();
    }
    return ordered_json(std::vector<std::string>(found.begin(), found.end()));
}

} // namespace

Outcome statusCommand(const Configuration& configuration)
{
    Databases databases(configuration);
    clsConn& local = databases.local();
    const std::wstring site = L" where unique_key = " + siteKey(configuration.site);
    ordered_json control = jsonRows(local, L"select ready_f, error_f, error_message, last_timestamp, next_timestamp "
                                           L"from replication_control" +
                                               site);
    if (control.empty())
        throw missingControlRecord();
    // Rows, not records: every run records a row again that still differs.
    ordered_json waiting = jsonRows(local, L"select table_name, count(distinct coalesce(cast(guid as varchar(40)), "
                                           L"cast(patient_id as varchar(40)))) waiting from replication_conflict group "
                                           L"by table_name order by table_name");
    ordered_json counts =
        jsonRows(local, L"select count_name, count_value from replication_counts" + site + L" order by count_name");
    return {{{"control", control.front()},
             {"counts", std::move(counts)},
             {"conflicts", std::move(waiting)},
             {"log", lastLogErrors(configuration.logFile)}}};
}
