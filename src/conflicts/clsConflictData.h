#pragma once

#include <string>

/// One column in which the two copies of a row differ, its values as text.
struct clsConflictData
{
    std::wstring sField;
    std::wstring sSourceData;
    std::wstring sDestinationData;
};
