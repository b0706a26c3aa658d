#pragma once

#include "Configuration.h"
#include "Session.h"
#include "TableContent.h"

#include <nlohmann/json.hpp>

/// The rows that a run changes in a table for which the component counts none, found by comparing the table before and
/// after.
class TableChanges
{
public:
    /// Whether the component leaves a table of this method uncounted.
    static bool areUncounted(const TableConfiguration& table);

    TableChanges(const TableConfiguration& table, Databases& databases) : table_(table), databases_(databases) {}

    /// Neither raises: what cannot be read stays unknown.
    void before();
    void after();

    /// Of one of tablesCopiedBy: "updates", "adds" and "deletes" of the destination and, with "source_" in front, of
    /// the source; null where that is not known.
    nlohmann::ordered_json counters(size_t index) const;

private:
    struct Counters
    {
        long long updates = 0;
        long long adds = 0;
        long long deletes = 0;
    };
    /// The contents of tablesCopiedBy on one side.
    using Contents = std::vector<TableContent>;

    bool writesSource() const;
    Contents read(clsConn& conn) const;
    static std::vector<Counters> compare(const Contents& before, const Contents& after);

    const TableConfiguration& table_;
    Databases& databases_;
    bool known_ = false;
    Contents source_;
    Contents destination_;
    std::vector<Counters> atSource_;
    std::vector<Counters> atDestination_;
};
