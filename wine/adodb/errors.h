#pragma once

#include "dispatch_object.h"
#include "session.h"

namespace adodb {

/// Connection.Errors: the diagnostic records of the session's last failure.
class Errors final : public DispatchObject
{
public:
    explicit Errors(std::shared_ptr<Session> session) : session_(std::move(session)) {}
    void returnItem(Call& call);

private:
    std::span<const Member> members() const noexcept override;
    void invokeCount(Call& call);
    void invokeClear(Call& call);
    void invokeEnumerator(Call& call);

    size_t count() const noexcept { return session_ ? session_->errors().size() : 0; }
    Microsoft::WRL::ComPtr<IDispatch> itemAt(size_t position) const;

    std::shared_ptr<Session> session_;
};

} // namespace adodb
