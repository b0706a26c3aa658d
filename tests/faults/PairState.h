#pragma once

#include "Scenario.h"
#include "support/PracticeSide.h"

/// The content of both databases, as lines of text: rows of the tables with control records and foreign key, counts,
/// and the conflicts with their data without the server's own keys and times.
struct PairState
{
    std::vector<std::wstring> rows;
    std::vector<std::wstring> counts;
    std::vector<std::wstring> conflicts;
    /// Whether each control record of the local database has an error: "0|False".
    std::vector<std::wstring> marks;
};

/// The two databases of the tests, seen from beside the component.
class Pair
{
public:
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
