#include "replication/table_report.h"

#include "control/pairing.h"
#include "db/sql_literals.h"

namespace quinmark {

std::wstring countsBatch(short iReplicationUniqueId, const std::wstring& sTable, std::initializer_list<Count> counts)
{
    const std::wstring prefix = L"insert into replication_counts (unique_key, count_name, count_value) values (" +
                                std::to_wstring(iReplicationUniqueId) + L",";
    std::wstring batch;
    for (const Count& count : counts) {
        if (!batch.empty())
            batch += L";";
        batch += prefix + Common::SqlQuote(sTable + count.sSuffix, false, false) + L"," +
                 std::to_wstring(count.lValue) + L")";
    }
    return batch;
}

void writeCounts(short iReplicationUniqueId, const std::wstring& sTable, std::initializer_list<Count> counts)
{
    Utils::getConnLocal()->execute(countsBatch(iReplicationUniqueId, sTable, counts), false);
}

std::wstring summaryText(const std::wstring& sTable, std::initializer_list<SummaryLine> lines)
{
    std::wstring text = L"Replicated table: " + sTable;
    for (const SummaryLine& line : lines)
        text += L"\r\n\t" + std::wstring(line.sLabel) + std::to_wstring(line.lValue);
    return text;
}

} // namespace quinmark
