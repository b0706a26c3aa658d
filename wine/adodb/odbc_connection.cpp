#include "odbc_connection.h"

#include "odbc_result.h"

#include <algorithm>

namespace adodb {

namespace {

constexpr size_t kMostPreparedStatements = 64;

// Never freed: connections may live until the process ends.
const EnvironmentHandle& environment()
{
    static const EnvironmentHandle& handle = *new EnvironmentHandle([] {
        SQLHANDLE raw = nullptr;
        if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &raw)))
            com::check(E_OUTOFMEMORY);
        EnvironmentHandle created(raw);
        odbcCheck(SQLSetEnvAttr(raw, SQL_ATTR_ODBC_VERSION, attributeValue(SQL_OV_ODBC3), 0), created,
                  L"SQLSetEnvAttr");
        return created;
    }());
    return handle;
}

ConnectionHandle newConnection()
{
    SQLHANDLE raw = nullptr;
    odbcCheck(SQLAllocHandle(SQL_HANDLE_DBC, environment().get(), &raw), environment(), L"SQLAllocHandle");
    return ConnectionHandle(raw);
}

} // namespace

OdbcConnection::OdbcConnection(const std::wstring& connectionString, long loginTimeout) : handle_(newConnection())
{
    // Not every driver has a login timeout; the connection is then made without one.
    SQLSetConnectAttrW(handle_.get(), SQL_ATTR_LOGIN_TIMEOUT, attributeValue(static_cast<ULONG_PTR>(loginTimeout)), 0);
    std::wstring text = connectionString;
    odbcCheck(SQLDriverConnectW(handle_.get(), nullptr, text.data(), static_cast<SQLSMALLINT>(text.size()), nullptr, 0,
                                nullptr, SQL_DRIVER_NOPROMPT),
              handle_, L"SQLDriverConnect");
    readCapabilities();
}

OdbcConnection::~OdbcConnection()
{
    closeResults();
    prepared_.clear();
    idle_.fill(nullptr);
    if (inTransaction_)
        SQLEndTran(SQL_HANDLE_DBC, handle_.get(), SQL_ROLLBACK);
    SQLDisconnect(handle_.get());
}

std::wstring OdbcConnection::info(SQLUSMALLINT kind) const
{
    wchar_t text[256] = {};
    SQLSMALLINT bytes = 0;
    odbcCheck(SQLGetInfoW(handle_.get(), kind, text, sizeof text, &bytes), handle_, L"SQLGetInfo");
    return text;
}

void OdbcConnection::readCapabilities()
{
    dialect_ = dialectOfDatabase(info(SQL_DBMS_NAME));
    SQLUSMALLINT statements = 1;
    odbcCheck(SQLGetInfoW(handle_.get(), SQL_MAX_CONCURRENT_ACTIVITIES, &statements, sizeof statements, nullptr),
              handle_, L"SQLGetInfo");
    severalResults_ = statements != 1;
    SQLUINTEGER getData = 0;
    odbcCheck(SQLGetInfoW(handle_.get(), SQL_GETDATA_EXTENSIONS, &getData, sizeof getData, nullptr), handle_,
              L"SQLGetInfo");
    constexpr SQLUINTEGER kAny = SQL_GD_ANY_COLUMN | SQL_GD_ANY_ORDER | SQL_GD_BLOCK | SQL_GD_BOUND;
    anyGetData_ = (getData & kAny) == kAny;
}

std::shared_ptr<Statement> OdbcConnection::takeStatement()
{
    for (std::shared_ptr<Statement>& statement : idle_)
        if (statement)
            return std::exchange(statement, nullptr);
    SQLHANDLE raw = nullptr;
    odbcCheck(SQLAllocHandle(SQL_HANDLE_STMT, handle_.get(), &raw), handle_, L"SQLAllocHandle");
    return std::make_shared<Statement>(StatementHandle(raw));
}

void OdbcConnection::giveBack(std::shared_ptr<Statement> statement) noexcept
{
    if (const auto place = std::ranges::find(idle_, nullptr); place != idle_.end())
        *place = std::move(statement);
}

std::wstring OdbcConnection::catalog() const
{
    wchar_t text[256] = {};
    SQLINTEGER bytes = 0;
    odbcCheck(SQLGetConnectAttrW(handle_.get(), SQL_ATTR_CURRENT_CATALOG, text, sizeof text, &bytes), handle_,
              L"SQLGetConnectAttr");
    return text;
}

void OdbcConnection::beginTransaction()
{
    odbcCheck(SQLSetConnectAttrW(handle_.get(), SQL_ATTR_AUTOCOMMIT, attributeValue(SQL_AUTOCOMMIT_OFF), 0), handle_,
              L"SQLSetConnectAttr");
    inTransaction_ = true;
}

void OdbcConnection::endTransaction(SQLSMALLINT completion)
{
    materializeResults();
    odbcCheck(SQLEndTran(SQL_HANDLE_DBC, handle_.get(), completion), handle_, L"SQLEndTran");
    odbcCheck(SQLSetConnectAttrW(handle_.get(), SQL_ATTR_AUTOCOMMIT, attributeValue(SQL_AUTOCOMMIT_ON), 0), handle_,
              L"SQLSetConnectAttr");
    inTransaction_ = false;
}

std::shared_ptr<Statement> OdbcConnection::cachedStatement(const std::wstring& sql) const
{
    const auto found = prepared_.find(sql);
    return found != prepared_.end() && found->second.use_count() == 1 ? found->second : nullptr;
}

void OdbcConnection::cacheStatement(const std::wstring& sql, std::shared_ptr<Statement> statement)
{
    if (prepared_.size() >= kMostPreparedStatements)
        prepared_.clear();
    prepared_.insert_or_assign(sql, std::move(statement));
}

void OdbcConnection::addResult(const std::shared_ptr<Result>& result)
{
    std::erase_if(results_, [](const std::weak_ptr<Result>& known) { return known.expired(); });
    results_.push_back(result);
}

std::vector<std::shared_ptr<Result>> OdbcConnection::streamingResults()
{
    std::vector<std::shared_ptr<Result>> streaming;
    for (const std::weak_ptr<Result>& known : results_)
        if (auto result = known.lock(); result && result->isStreaming())
            streaming.push_back(std::move(result));
    return streaming;
}

bool OdbcConnection::isBusy()
{
    return !streamingResults().empty();
}

void OdbcConnection::materializeResults()
{
    for (const auto& result : streamingResults())
        result->materialize();
}

void OdbcConnection::closeResults()
{
    for (const std::weak_ptr<Result>& known : results_)
        if (const auto result = known.lock())
            result->close();
    results_.clear();
}

} // namespace adodb
