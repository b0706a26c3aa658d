#include "control/RaiseError.h"
#include "control/log.h"
#include "control/settings.h"
#include "db/prefixes.h"
#include "replication/clsReplicateTable.h"
#include "replication/logged_sql.h"
#include "replication/table_report.h"

using namespace quinmark;

namespace {

std::wstring copyStatement(const std::wstring& sTable, const Prefixes& prefixes)
{
    return L"insert into " + prefixes.sDestinationDB + sTable + L" select * from " + prefixes.sSourceDB + sTable;
}

} // namespace

void clsReplicateTable::replicateOneWayDeleteAll()
try {
    executeOnDestination(L"Delete from " + sTable_);
    counters_.lCntDestAdd = executeOnLocal(copyStatement(sTable_, settings().prefixes()));
    logFullCopy(sTable_);
}
catch (...) {
    Common::reraise(L"clsReplicateTable.replicateOneWayDeleteAll(" + sTable_ + L")");
}

void clsReplicateTable::replicateComputerType()
try {
    executeOnDestination(L"Delete from computer_type_setting; delete from computer_type");
    const Prefixes prefixes = settings().prefixes();
    counters_.lCntDestAdd = executeOnDestination(copyStatement(L"computer_type", prefixes) + L";" +
                                                     copyStatement(L"computer_type_setting", prefixes) + L";",
                                                 true);
    logFullCopy(L"computer_type");
}
catch (...) {
    Common::reraise(L"clsReplicateTable.replicateComputerType(computer_type)");
}

void clsReplicateTable::logFullCopy(const std::wstring& sTable) const
{
    const std::wstring errors = L"\tErrors: " + std::to_wstring(counters_.lCntError);
    Utils::WriteLog(LOG_DEBUG,
                    summaryText(sTable, {{L"Deletes/Adds to destination: ", counters_.lCntDestAdd}}) + errors);
}
