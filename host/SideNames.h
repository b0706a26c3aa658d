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
        : source(nameOf(configuration, configuration.localIsSource)),
          destination(nameOf(configuration, !configuration.localIsSource))
    {
    }

private:
    static std::string nameOf(const Configuration& configuration, bool isLocal)
    {
        const bool isLaptop = (configuration.site == LAPTOP) == isLocal;
        return std::string(isLocal ? "this " : "the ") + (isLaptop ? "laptop" : "office");
    }
};
