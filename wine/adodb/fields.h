#pragma once

#include "recordset.h"

namespace adodb {

/// Recordset.Fields.
class Fields final : public DispatchObject
{
public:
    explicit Fields(Microsoft::WRL::ComPtr<Recordset> recordset) : recordset_(std::move(recordset)) {}

private:
    std::span<const Member> members() const noexcept override;
    void invokeItem(Call& call);
    void invokeCount(Call& call);
    void invokeEnumerator(Call& call);

    Microsoft::WRL::ComPtr<Recordset> recordset_;
};

/// Returns the field that the call's argument names; raises 3265.
void returnField(Call& call, Recordset& recordset);

[[noreturn]] void raiseNotUpdatable(const wchar_t* source);

} // namespace adodb
