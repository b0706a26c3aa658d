#pragma once

#include "dispatch_object.h"
#include "session.h"

namespace adodb {

/// ADODB.Connection.
class Connection final : public DispatchObject
{
public:
    static constexpr IID kClassId = {0x6f3c5d10, 0x9a41, 0x4c53, {0x8e, 0x27, 0x51, 0x0d, 0x7e, 0xb2, 0x94, 0xa1}};

    /// Raises 3705 when open.
    void open(const std::wstring& connectionString, const std::wstring& user, const std::wstring& password);
    bool isOpen() const noexcept { return session_ != nullptr; }
    /// Null when closed.
    const std::shared_ptr<Session>& session() const noexcept { return session_; }
    long cursorLocation() const noexcept { return cursorLocation_; }
    long commandTimeout() const noexcept { return commandTimeout_; }

private:
    std::span<const Member> members() const noexcept override;
    void* find(REFIID interfaceId) noexcept override;

    void invokeOpen(Call& call);
    void invokeClose(Call& call);
    void invokeExecute(Call& call);
    void invokeBegin(Call& call);
    void invokeCommit(Call& call);
    void invokeRollback(Call& call);
    void invokeConnectionString(Call& call);
    void invokeConnectionTimeout(Call& call);
    void invokeCommandTimeout(Call& call) { call.property(commandTimeout_); }
    void invokeCursorLocation(Call& call);
    void invokeDefaultDatabase(Call& call);
    void invokeState(Call& call);
    void invokeErrors(Call& call);
    void invokeVersion(Call& call);

    Session& requireSession() const;
    void requireClosed() const;

    std::wstring connectionString_;
    long connectionTimeout_ = 15;
    long commandTimeout_ = 30;
    long cursorLocation_ = 2;
    std::shared_ptr<Session> session_;
};

/// The connection that an ActiveConnection argument names: an ADODB.Connection, a connection string (opened at once),
/// or none (null). Raises 3001 for anything else.
Microsoft::WRL::ComPtr<Connection> connectionOf(const VARIANT& value);

} // namespace adodb
