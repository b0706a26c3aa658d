#pragma once

#include "Dice.h"
#include "Value.h"

#include <vector>
#include <wrl/client.h>

/// Objects that a caller has at hand; never empty pointers.
using Objects = std::vector<Microsoft::WRL::ComPtr<IDispatch>>;

/// Values as good and bad callers pass them.
class RandomValues
{
public:
    RandomValues(Dice& dice, const Objects& objects) : dice_(dice), objects_(objects) {}

    /// A value that a member with a parameter of this type and name can work with.
    Value fitting(VARTYPE type, const std::wstring& parameter);
    /// Any value at all, also of types that no VARIANT may have.
    Value any();

private:
    BSTR fittingText(const std::wstring& parameter);
    BSTR anyText();
    Value anyNumber();
    Value anyObject();
    Value anyArray();
    double anyDouble();

    Dice& dice_;
    const Objects& objects_;
};
