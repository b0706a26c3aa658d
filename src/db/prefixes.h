#pragma once

#include <string>

namespace quinmark {

/// Texts that stand directly in front of a table's name to name it in one of the two databases.
struct Prefixes
{
    std::wstring sSourceDB;
    std::wstring sDestinationDB;
};

} // namespace quinmark
