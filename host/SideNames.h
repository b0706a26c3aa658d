#pragma once

#include "Configuration.h"

#include <string>

/// What people call the two sides: "the office" and "this laptop" where this machine is the laptop, "this office" and
/// "the laptop" where it is the office's.
struct SideNames
{
    std::string source = "the source";
    std::string destination = "the destination";

    /// As administrators and programs call them.
    SideNames() = default;
    explicit SideNames(const Configuration& configuration)
    {
        const bool atLaptop = configuration.site == LAPTOP;
        const std::string local = atLaptop ? "this laptop" : "this office";
        const std::string other = atLaptop ? "the office" : "the laptop";
        source = configuration.localIsSource ? local : other;
        destination = configuration.localIsSource ? other : local;
    }
};
