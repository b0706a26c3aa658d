#pragma once

#include "support/PracticeSide.h"

#include <string>
#include <vector>

/// What both databases hold, as lines of text in a fixed order: rows of the tables, counts, control records, the
/// foreign key, and the conflicts of the local database without what the server made up (keys and times).
struct PairState
{
    std::vector<std::wstring> rows;
    std::vector<std::wstring> counts;
    std::vector<std::wstring> conflicts;
    /// The error of each control record of the local database.
    std::vector<std::wstring> marks;

    bool operator==(const PairState&) const = default;
};

/// The two databases of the tests (PostgreSQL only), seen from beside the component.
class Pair
{
public:
    /// Whether the environment has all settings of the databases.
    static bool isConfigured();
    static bool isPostgreSql();
    static std::wstring setting(const wchar_t* name);

    Pair();

    /// The end of the last run, and times before and after it.
    static constexpr wchar_t kLastRun[] = L"2025-03-10T12:00:00";

    const PracticeSide& source() const { return source_; }
    const PracticeSide& destination() const { return destination_; }

    /// Empties `tables` on both sides and puts the rows of the two batches there; control records as before a run.
    void reset(const std::vector<std::wstring>& tables, const std::wstring& sourceRows,
               const std::wstring& destinationRows) const;
    PairState read(const std::vector<std::wstring>& tables, bool localIsSource) const;

private:
    PracticeSide source_;
    PracticeSide destination_;
};

/// The lines of one state that the other has not, both ways, for a report.
std::wstring difference(const std::vector<std::wstring>& expected, const std::vector<std::wstring>& actual);
