// Copies the rows of literal_source by the row builders and the literal routines, as replication does, and tells on
// standard output, one line for each statement that was refused: key, table, error.
//
//   literal_host DSN PASSWORD LOG
//
// It ends with an entry in the log.
#include "ado/constants.h"
#include "com/convert.h"
#include "control/log.h"
#include "control/settings.h"
#include "db/clsConn.h"
#include "db/forward_only.h"
#include "db/sql_literals.h"
#include "replication/row_queries.h"
#include "replication/row_sql.h"
#include "support/Apartment.h"
#include "support/TextLine.h"

#include <iostream>
#include <vector>

using namespace quinmark;

namespace {

const KeyedTable kSource{L"literal_source", L"unid"};

std::vector<_variant_t> keys(clsConn& database)
{
    std::vector<_variant_t> result;
    ado::Recordset rs = openForwardOnly(database, L"select unid from literal_source order by unid");
    for (; !rs.eof(); rs.moveNext())
        result.push_back(rs.value(L"unid"));
    rs.close();
    return result;
}

/// Every literal routine on the row's text and date.
std::wstring routinesSql(const ado::Recordset& row, const _variant_t& key)
{
    const std::wstring text = com::concatText(row.value(L"t"));
    const _variant_t date = row.value(L"d");
    return L"insert into literal_routines values (" + Common::SqlQuoteOnly(key) + L", " +
           Common::SqlQuote(text, false, false) + L", " + Common::SqlQuote(text, true, false) + L", " +
           Common::SqlLikePattern(text, false, true) + L", " + Common::SqlLikePattern(text, true, true) + L", " +
           std::to_wstring(Common::SqlBit(static_cast<short>(text.size()))) + L", " +
           (date.vt == VT_NULL ? L"Null" : Common::SqlDate(com::toDate(date))) + L")";
}

template <class Build>
void execute(clsConn& database, const _variant_t& key, const wchar_t* table, Build build)
{
    try {
        database.execute(build(), false);
    }
    catch (const com::Error& error) {
        std::cout << joinLine({com::toText(key), table, std::to_wstring(error.number), error.description}) << '\n';
    }
}

void copyRow(clsConn& database, const _variant_t& key)
{
    ado::Recordset row = openForwardOnly(database, selectRow(kSource, key));
    execute(database, key, L"inserted", [&] { return Utils::getInsertSql(row, L"literal_inserted"); });
    execute(database, key, L"updated",
            [&] { return Utils::getUpdateSql(row, L"literal_updated", keyCondition(kSource, key)); });
    execute(database, key, L"routines", [&] { return routinesSql(row, key); });
    row.close();
}

void log(const std::string& path)
{
    settings().sLogFile = {path.begin(), path.end()};
    Utils::WriteLog(LOG_INFO, L"copied");
}

} // namespace

int main(int count, char** arguments)
try {
    const Apartment apartment;
    if (count != 4 || !attachComponent(nullptr))
        return 2;
    clsConn database;
    const std::string dsn = arguments[1];
    const std::string password = arguments[2];
    database.openConnection({dsn.begin(), dsn.end()}, {password.begin(), password.end()});
    for (const _variant_t& key : keys(database))
        copyRow(database, key);
    log(arguments[3]);
    std::cout << "done" << std::endl;
    database.getConn().close();
    return 0;
}
catch (const com::Error& error) {
    std::cerr << joinLine({std::to_wstring(error.number), error.source, error.description}) << std::endl;
    return 1;
}
