#pragma once

#include <map>
#include <set>
#include <stdexcept>
#include <string>

/// The options of a command line, each with the value that follows it, if any: "--list --seed 4".
class Options
{
public:
    /// Throws std::invalid_argument for an option that is not known.
    Options(int count, char** arguments, const std::set<std::string>& known)
    {
        for (int index = 1; index < count; ++index) {
            const std::string name = arguments[index];
            if (!known.contains(name))
                throw std::invalid_argument("unknown option " + name);
            const bool hasValue = index + 1 < count && !known.contains(arguments[index + 1]);
            values_[name] = hasValue ? arguments[++index] : "";
        }
    }

    bool has(const std::string& name) const { return values_.contains(name); }
    std::string text(const std::string& name) const { return has(name) ? values_.at(name) : std::string(); }
    /// 0, or the fallback, when it is not given; throws std::invalid_argument when its value is no number.
    double real(const std::string& name) const { return has(name) ? std::stod(text(name)) : 0; }
    template <class Number>
    Number number(const std::string& name, Number fallback) const
    {
        return has(name) ? static_cast<Number>(std::stoull(text(name))) : fallback;
    }

private:
    std::map<std::string, std::string> values_;
};
