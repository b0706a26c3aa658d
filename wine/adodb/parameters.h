#pragma once

#include "command.h"

namespace adodb {

/// Command.Parameters: the list itself lies in the command.
class Parameters final : public DispatchObject
{
public:
    explicit Parameters(Microsoft::WRL::ComPtr<Command> command) : command_(std::move(command)) {}
    /// Returns the parameter that the argument names, or gives it a value: scripts write `Parameters("x") = 1`.
    void invokeItem(Call& call);

private:
    std::span<const Member> members() const noexcept override;
    void invokeAppend(Call& call);
    void invokeDelete(Call& call);
    void invokeRefresh(Call& call);
    void invokeCount(Call& call);
    void invokeEnumerator(Call& call);

    size_t position(const VARIANT& index) const;

    Microsoft::WRL::ComPtr<Command> command_;
};

} // namespace adodb
