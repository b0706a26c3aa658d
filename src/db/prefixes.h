#pragma once

#include <string>

namespace quinmark {

/// What is pasted in front of a table's name, nothing in between, to name it in one of the two databases.
struct Prefixes
{
    std::wstring sSourceDB;
    std::wstring sDestinationDB;
};

} // namespace quinmark
