#pragma once

#include "command.h"
#include "odbc_result.h"

namespace adodb {

/// ADODB.Recordset, read-only. A forward-only one streams; every other cursor type reads its rows into memory when it
/// is opened (a snapshot, whatever was asked for) and can go back to its first row.
class Recordset final : public DispatchObject
{
public:
    /// Runs a statement and stands on its first row; stays closed when it returns no rows. Returns the affected rows.
    long execute(Microsoft::WRL::ComPtr<Connection> connection, Request request);

    bool isOpen() const noexcept { return result_ && result_->isOpen(); }
    /// Raises 3704 when closed.
    Result& requireResult() const;
    /// Raises 3021 before the first and after the last row.
    Result& requireRow() const;
    /// Columns of the open result; none when closed.
    std::span<const ColumnInfo> columns() const noexcept;

private:
    std::span<const Member> members() const noexcept override;

    void invokeFields(Call& call);
    void invokeOpen(Call& call);
    void invokeClose(Call& call);
    void invokeMoveNext(Call& call);
    void invokeMoveFirst(Call& call);
    void invokeEof(Call& call);
    void invokeBof(Call& call);
    void invokeState(Call& call);
    void invokeRecordCount(Call& call);
    void invokeCursorType(Call& call) { closedProperty(call, cursorType_); }
    void invokeCursorLocation(Call& call) { closedProperty(call, cursorLocation_); }
    void invokeLockType(Call& call) { closedProperty(call, lockType_); }
    void invokeActiveConnection(Call& call);
    void invokeSource(Call& call);
    void invokeUpdating(Call& call);
    void invokeNextRecordset(Call& call);

    void closedProperty(Call& call, long& member);
    void requireClosed() const;
    void openText(const std::wstring& text, long options);
    void openCommand(Command& command, bool connectionGiven, long options);

    Microsoft::WRL::ComPtr<Connection> connection_;
    std::shared_ptr<Result> result_;
    _variant_t source_ = L"";
    long cursorType_ = adOpenForwardOnly;
    long cursorLocation_ = adUseServer;
    long lockType_ = 1;
};

} // namespace adodb
