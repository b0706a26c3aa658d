#pragma once

#include "dialect.h"
#include "odbc_error.h"
#include "odbc_statement.h"

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace adodb {

class Result;

/// One ODBC connection. It outlives the results that read from it.
class OdbcConnection
{
public:
    /// Connects; `loginTimeout` in seconds, 0 waits without limit.
    OdbcConnection(const std::wstring& connectionString, long loginTimeout);
    ~OdbcConnection();
    OdbcConnection(const OdbcConnection&) = delete;
    OdbcConnection& operator=(const OdbcConnection&) = delete;

    /// A statement handle for one statement, new or given back; one that has failed is better not given back.
    std::shared_ptr<Statement> takeStatement();
    /// Keeps a statement that has been reset for another use.
    void giveBack(std::shared_ptr<Statement> statement) noexcept;
    Dialect dialect() const noexcept { return dialect_; }
    bool allowsSeveralResults() const noexcept { return severalResults_; }
    /// Whether a column can be read with SQLGetData when it is bound, out of order, or in any row of a block.
    bool allowsAnyGetData() const noexcept { return anyGetData_; }
    std::wstring catalog() const;

    void beginTransaction();
    /// SQL_COMMIT or SQL_ROLLBACK; open results are read to their end first, they would be lost.
    void endTransaction(SQLSMALLINT completion);

    /// The prepared statement of this text when it is free; null when there is none.
    std::shared_ptr<Statement> cachedStatement(const std::wstring& sql) const;
    void cacheStatement(const std::wstring& sql, std::shared_ptr<Statement> statement);

    void addResult(const std::shared_ptr<Result>& result);
    /// Whether a result still reads from this connection.
    bool isBusy();
    void materializeResults();
    void closeResults();

private:
    std::wstring info(SQLUSMALLINT kind) const;
    void readCapabilities();
    std::vector<std::shared_ptr<Result>> streamingResults();

    ConnectionHandle handle_;
    Dialect dialect_ = Dialect::Untouched;
    bool severalResults_ = false;
    bool anyGetData_ = false;
    bool inTransaction_ = false;
    std::vector<std::weak_ptr<Result>> results_;
    std::map<std::wstring, std::shared_ptr<Statement>> prepared_;
    std::array<std::shared_ptr<Statement>, 4> idle_; ///< some are null
};

} // namespace adodb
