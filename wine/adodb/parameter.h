#pragma once

#include "dispatch_object.h"
#include "parameter_data.h"

namespace adodb {

/// ADODB.Parameter.
class Parameter final : public DispatchObject
{
public:
    static constexpr IID kClassId = {0x6f3c5d12, 0x9a41, 0x4c53, {0x8e, 0x27, 0x51, 0x0d, 0x7e, 0xb2, 0x94, 0xa1}};

    Parameter() = default;
    explicit Parameter(ParameterData data) : data_(std::move(data)) {}

    ParameterData& data() noexcept { return data_; }
    /// Takes a value in the form of the type; raises 3421.
    void setValue(const VARIANT& value) { data_.value = coerceValue(data_, value); }

private:
    std::span<const Member> members() const noexcept override;
    void* find(REFIID interfaceId) noexcept override;

    void invokeName(Call& call) { call.property(data_.name); }
    void invokeValue(Call& call);
    void invokeType(Call& call) { call.property(data_.type); }
    void invokeDirection(Call& call) { call.property(data_.direction); }
    void invokePrecision(Call& call) { call.property(data_.precision); }
    void invokeScale(Call& call) { call.property(data_.scale); }
    void invokeSize(Call& call) { call.property(data_.size); }
    void invokeAttributes(Call& call) { call.property(data_.attributes); }

    ParameterData data_;
};

} // namespace adodb
