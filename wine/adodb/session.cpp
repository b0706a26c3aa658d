#include "session.h"

#include "ado_error.h"
#include "odbc_parameter.h"
#include "odbc_result.h"

#include <algorithm>
#include <list>

namespace adodb {

namespace {

std::shared_ptr<Statement> preparedStatement(OdbcConnection& connection, const std::wstring& sql)
{
    if (auto known = connection.cachedStatement(sql))
        return known;
    auto statement = connection.takeStatement();
    std::wstring text = sql;
    odbcCheck(SQLPrepareW(statement->handle().get(), text.data(), static_cast<SQLINTEGER>(text.size())),
              statement->handle(), L"SQLPrepare");
    connection.cacheStatement(sql, statement);
    return statement;
}

void executeStatement(const StatementHandle& statement, std::wstring& sql, const Request& request)
{
    if (request.prepared)
        odbcCheck(SQLExecute(statement.get()), statement, L"SQLExecute");
    else
        odbcCheck(SQLExecDirectW(statement.get(), sql.data(), static_cast<SQLINTEGER>(sql.size())), statement,
                  L"SQLExecDirect");
}

long rowCount(const StatementHandle& statement)
{
    SQLLEN rows = -1;
    return SQL_SUCCEEDED(SQLRowCount(statement.get(), &rows)) ? static_cast<long>(rows) : -1;
}

SQLSMALLINT columnCount(const StatementHandle& statement)
{
    SQLSMALLINT columns = 0;
    odbcCheck(SQLNumResultCols(statement.get(), &columns), statement, L"SQLNumResultCols");
    return columns;
}

/// Runs through the remaining results of a batch; a failure of one of them is raised.
void finishBatch(const StatementHandle& statement)
{
    while (odbcCheck(SQLMoreResults(statement.get()), statement, L"SQLMoreResults") != SQL_NO_DATA) {
    }
    SQLFreeStmt(statement.get(), SQL_CLOSE);
}

} // namespace

Session::Session(std::wstring connectionString, long loginTimeout)
    : connectionString_(std::move(connectionString)),
      loginTimeout_(loginTimeout)
{
    connections_.push_back(std::make_shared<OdbcConnection>(connectionString_, loginTimeout_));
}

Session::~Session()
{
    for (const auto& connection : connections_)
        connection->closeResults();
}

template <class Body>
auto Session::recordingErrors(Body&& body)
{
    try {
        return body();
    }
    catch (const OdbcError& error) {
        errors_ = error.diagnostics;
        throw;
    }
}

std::shared_ptr<OdbcConnection> Session::acquire()
{
    if (transaction_) {
        if (!transaction_->allowsSeveralResults())
            transaction_->materializeResults();
        return transaction_;
    }
    for (const auto& connection : connections_)
        if (!connection->isBusy())
            return connection;
    connections_.push_back(std::make_shared<OdbcConnection>(connectionString_, loginTimeout_));
    return connections_.back();
}

Outcome Session::execute(Request request)
{
    return recordingErrors([&] { return run(acquire(), request); });
}

Outcome Session::run(const std::shared_ptr<OdbcConnection>& connection, Request& request)
{
    std::wstring sql = translateSql(connection->dialect(), std::move(request.text));
    std::list<OdbcParameter> bound; // their places are bound
    for (const ParameterData* parameter : request.parameters)
        bound.emplace_back(*parameter, connection->dialect());

    auto statement = request.prepared ? preparedStatement(*connection, sql) : connection->takeStatement();
    const StatementHandle& handle = statement->handle();
    for (SQLUSMALLINT number = 1; OdbcParameter & parameter : bound)
        parameter.bind(handle, number++);
    statement->setTimeout(request.timeout);
    executeStatement(handle, sql, request);

    const bool hasOutputs = std::ranges::any_of(request.parameters, &ParameterData::isOutput);
    Outcome outcome;
    if (const SQLSMALLINT columns = columnCount(handle); columns > 0) {
        outcome.result = std::make_shared<Result>(connection, statement, columns);
        connection->addResult(outcome.result);
        // Output values are there only after the last row.
        if (request.snapshot || hasOutputs)
            outcome.result->materialize();
    }
    else {
        outcome.rowsAffected = rowCount(handle);
        finishBatch(handle);
    }
    if (!bound.empty())
        SQLFreeStmt(handle.get(), SQL_RESET_PARAMS);
    for (size_t index = 0; const OdbcParameter& parameter : bound)
        if (ParameterData& data = *request.parameters[index++]; data.isOutput())
            data.value = parameter.output();
    // A result that is still read gives it back itself; a prepared one stays where it is.
    if (statement.use_count() == 1)
        connection->giveBack(std::move(statement));
    return outcome;
}

void Session::beginTransaction()
{
    if (transaction_)
        raiseAdoError(kTransactionExists, kProviderName);
    recordingErrors([&] {
        auto connection = acquire();
        connection->beginTransaction();
        transaction_ = std::move(connection);
    });
}

void Session::endTransaction(SQLSMALLINT completion)
{
    if (!transaction_)
        raiseAdoError(kNoTransaction, kProviderName);
    // A rollback is over even if it fails; a failed commit leaves the rollback to the caller.
    const auto connection = transaction_;
    if (completion == SQL_ROLLBACK)
        transaction_.reset();
    recordingErrors([&] { connection->endTransaction(completion); });
    transaction_.reset();
}

std::wstring Session::catalog() const
{
    return (transaction_ ? transaction_ : connections_.front())->catalog();
}

} // namespace adodb
