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

    /// A text that calls the sides as administrators do, with these names.
    std::string in(const std::string& text) const
    {
        return replaced(replaced(text, "the destination", destination), "the source", source);
    }

private:
    static std::string replaced(std::string text, const std::string& what, const std::string& by)
    {
        for (size_t place = 0; (place = text.find(what, place)) != std::string::npos; place += by.size())
            text.replace(place, what.size(), by);
        return text;
    }

    static std::string nameOf(const Configuration& configuration, bool isLocal)
    {
        const bool isLaptop = (configuration.site == LAPTOP) == isLocal;
        return std::string(isLocal ? "this " : "the ") + (isLaptop ? "laptop" : "office");
    }
};
