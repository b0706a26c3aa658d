#pragma once

#include "odbc_connection.h"
#include "parameter_data.h"

#include <functional>
#include <map>
#include <span>

namespace adodb {

/// One statement to run.
struct Request
{
    std::wstring text;
    std::span<ParameterData* const> parameters; ///< in the order of their markers; outputs are written back
    long timeout = 0;                           ///< seconds, 0 = without limit
    bool prepared = false;
    bool snapshot = false; ///< read all rows at once
};

struct Outcome
{
    long rowsAffected = -1;         ///< of the first statement of a batch; -1 for one that returns rows
    std::shared_ptr<Result> result; ///< null when the first statement returns no rows
};

/// The ODBC side of an open ADO connection: one ODBC connection, and further ones for statements that run while a
/// result is still being read. They are kept and used again. A transaction lives on one of them, and everything that
/// runs during the transaction runs there.
class Session
{
public:
    Session(std::wstring connectionString, long loginTimeout);
    ~Session();

    Outcome execute(Request request);

    bool inTransaction() const noexcept { return transaction_ != nullptr; }
    void beginTransaction();
    void endTransaction(SQLSMALLINT completion);

    std::wstring catalog() const;
    const std::vector<Diagnostic>& errors() const noexcept { return errors_; }
    void clearErrors() noexcept { errors_.clear(); }

private:
    std::shared_ptr<OdbcConnection> acquire();
    Outcome run(const std::shared_ptr<OdbcConnection>& connection, Request& request);
    template <class Body>
    auto recordingErrors(Body&& body);

    std::wstring connectionString_;
    long loginTimeout_;
    std::vector<std::shared_ptr<OdbcConnection>> connections_;
    std::shared_ptr<OdbcConnection> transaction_;
    std::vector<Diagnostic> errors_;
};

/// The connection string for ODBC from what ADO is given: a bare data source name or `keyword=value;...`, with ADO's
/// keywords (`Provider`, `Data Source`, `User ID`, `Password`, `Initial Catalog`) in ODBC's spelling.
/// Raises 3706 for a provider other than ODBC's.
std::wstring odbcConnectionString(const std::wstring& connectionString, const std::wstring& user,
                                  const std::wstring& password);

/// The connection string without its password.
std::wstring withoutPassword(const std::wstring& connectionString);

} // namespace adodb
