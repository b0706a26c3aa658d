#pragma once

#include "connection.h"
#include "parameter.h"

namespace adodb {

class Recordset;

using ParameterList = std::vector<Microsoft::WRL::ComPtr<Parameter>>;

/// ADODB.Command.
class Command final : public DispatchObject
{
public:
    static constexpr IID kClassId = {0x6f3c5d11, 0x9a41, 0x4c53, {0x8e, 0x27, 0x51, 0x0d, 0x7e, 0xb2, 0x94, 0xa1}};

    ParameterList& parameters() noexcept { return parameters_; }
    const Microsoft::WRL::ComPtr<Connection>& connection() const noexcept { return connection_; }

    /// Runs the command into a recordset; returns the number of affected rows. Raises 3709 without an open connection.
    long executeInto(Recordset& recordset, long options);

private:
    std::span<const Member> members() const noexcept override;
    void* find(REFIID interfaceId) noexcept override;

    void invokeActiveConnection(Call& call);
    void invokeCommandText(Call& call) { call.property(commandText_); }
    void invokeCommandTimeout(Call& call) { call.property(commandTimeout_); }
    void invokeCommandType(Call& call) { call.property(commandType_); }
    void invokePrepared(Call& call) { call.property(prepared_); }
    void invokeName(Call& call) { call.property(name_); }
    void invokeState(Call& call);
    void invokeCreateParameter(Call& call);
    void invokeParameters(Call& call);
    void invokeExecute(Call& call);

    void takeValues(const VARIANT& values);

    Microsoft::WRL::ComPtr<Connection> connection_;
    std::wstring commandText_;
    std::wstring name_;
    long commandTimeout_ = 30;
    long commandType_ = 8;
    bool prepared_ = false;
    ParameterList parameters_;
};

} // namespace adodb
