#pragma once

#include "Scenario.h"
#include "support/PracticeSide.h"

/// The content of both databases, as lines of text in a fixed order: rows of the tables, counts, control records, the
/// foreign key, and the conflicts of the local database without the server's own keys and times.
struct PairState
{
    std::vector<std::wstring> rows;
    std::vector<std::wstring> counts;
    std::vector<std::wstring> conflicts;
    /// The error of each control record of the local database.
    std::vector<std::wstring> marks;
};

/// The two databases of the tests (PostgreSQL only), seen from beside the component.
class Pair
{
public:
    /// Whether the environment has all settings of the databases.
    static bool isConfigured();
    static std::wstring setting(const wchar_t* name);

    Pair();

    /// Both sides as a scenario begins: its rows alone, and the control records as before a run.
    void reset(const Scenario& scenario) const;
    PairState read(const Scenario& scenario) const;

private:
    PracticeSide source_;
    PracticeSide destination_;
};

/// The lines of one state that the other has not, both ways, for a report.
std::wstring difference(std::vector<std::wstring> expected, std::vector<std::wstring> actual);
