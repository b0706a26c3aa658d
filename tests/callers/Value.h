#pragma once

#include <oaidl.h>
#include <string>
#include <utility>

/// A VARIANT of any form, broken ones included: unlike _variant_t, it never throws when it goes.
class Value
{
public:
    explicit Value(VARTYPE type = VT_EMPTY) { value_.vt = type; }
    explicit Value(BSTR text) : Value(static_cast<VARTYPE>(VT_BSTR)) { value_.bstrVal = text; }
    Value(Value&& other) noexcept : value_(std::exchange(other.value_, VARIANT{})) {}
    Value& operator=(Value&& other) noexcept
    {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Value() { VariantClear(&value_); }

    VARIANT& get() { return value_; }
    const VARIANT& get() const { return value_; }
    VARIANT* operator->() { return &value_; }

private:
    VARIANT value_{};
};

/// Whether two values of one type are the same to the bit; texts by their characters, objects and arrays by identity.
bool isSame(const VARIANT& left, const VARIANT& right);

/// Type and content in a few characters.
std::string describe(const VARIANT& value);
