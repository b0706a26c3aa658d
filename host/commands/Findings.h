#pragma once

#include "HostError.h"
#include "com/error.h"
#include "commands.h"
#include "text.h"

#include <functional>
#include <string>

/// Something wrong, and what to do about it.
struct Finding
{
    std::string text;
    std::string todo;
};

/// Collects what was looked at and what is wrong with it.
class Findings
{
public:
    /// Runs a look and says whether it found nothing; what it raises is the finding, with `todo` unless its own advice
    /// is known.
    bool look(const std::string& what, const std::string& todo, const std::function<void()>& body)
    {
        Finding finding;
        try {
            body();
        }
        catch (const Finding& raised) {
            finding = raised;
        }
        catch (const HostError& error) {
            finding = {error.what(), error.todo()};
        }
        catch (const com::Error& error) {
            finding = {trimmed(toUtf8(error.description)), advice(error)};
            if (finding.text.empty())
                finding.text = hexNumber(error);
        }
        const bool ok = finding.text.empty();
        if (!ok && finding.todo.empty())
            finding.todo = todo;
        add(what, ok, false, finding);
        failed_ = failed_ || !ok;
        return ok;
    }

    /// Something that is in order, and may yet surprise.
    void warn(const std::string& what, const Finding& finding) { add(what, true, true, finding); }

    Outcome outcome() const { return {{{"checks", checks_}}, failed_ ? kNotReady : kDone}; }

private:
    void add(const std::string& what, bool ok, bool warning, const Finding& finding)
    {
        checks_.push_back(
            {{"check", what}, {"ok", ok}, {"warning", warning}, {"finding", finding.text}, {"todo", finding.todo}});
    }

    nlohmann::ordered_json checks_ = nlohmann::ordered_json::array();
    bool failed_ = false;
};
