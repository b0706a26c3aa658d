#pragma once

#include "Configuration.h"

#include <string>

/// What people call the two sides: "the office" and "this laptop" where this machine is the laptop, "this office" and
/// "the laptop" where it is the office's.
struct SideNames
{
    std::string source;
    std::string destination;

    explicit SideNames(const Configuration& configuration)
    {
        const bool atLaptop = configuration.site == LAPTOP;
        const std::string local = atLaptop ? "this laptop" : "this office";
        const std::string other = atLaptop ? "the office" : "the laptop";
        source = configuration.localIsSource ? local : other;
        destination = configuration.localIsSource ? other : local;
    }
};
