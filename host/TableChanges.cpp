#include "TableChanges.h"

#include "commands/rows.h"
#include "replication/method_plan.h"

using namespace quinmark;
using nlohmann::ordered_json;

bool TableChanges::areUncounted(const TableConfiguration& table)
{
    return planOf(table.method).engine != Engine::OneWay;
}

void TableChanges::before()
try {
    destination_ = read(databases_.destination());
    if (writesSource())
        source_ = read(databases_.source());
}
catch (const com::Error&) {
    destination_.clear();
}

void TableChanges::after()
try {
    if (destination_.empty())
        return;
    atDestination_ = compare(destination_, read(databases_.destination()));
    if (writesSource())
        atSource_ = compare(source_, read(databases_.source()));
    known_ = true;
}
catch (const com::Error&) {
    known_ = false;
}

ordered_json TableChanges::counters(size_t index) const
{
    ordered_json counters;
    const auto add = [&](const std::string& prefix, const std::vector<Counters>& side) {
        const Counters of = index < side.size() ? side[index] : Counters();
        counters[prefix + "updates"] = known_ ? ordered_json(of.updates) : ordered_json();
        counters[prefix + "adds"] = known_ ? ordered_json(of.adds) : ordered_json();
        counters[prefix + "deletes"] = known_ ? ordered_json(of.deletes) : ordered_json();
    };
    add("", atDestination_);
    add("source_", atSource_);
    return counters;
}

bool TableChanges::writesSource() const
{
    return planOf(table_.method).engine == Engine::TwoWay;
}

TableChanges::Contents TableChanges::read(clsConn& conn) const
{
    Contents contents;
    for (const KeyedTable& table : tablesCopiedBy(table_))
        contents.push_back(readContent(conn, table, hasColumn(conn, table.sTable, table.sKey)));
    return contents;
}

std::vector<TableChanges::Counters> TableChanges::compare(const Contents& before, const Contents& after)
{
    std::vector<Counters> all;
    for (size_t index = 0; index < before.size(); ++index) {
        Counters& counters = all.emplace_back();
        forEachDifference(before[index], after[index], [&](const std::wstring&, Difference difference, bool) {
            switch (difference) {
            case Difference::LeftOnly:
                ++counters.deletes;
                break;
            case Difference::RightOnly:
                ++counters.adds;
                break;
            case Difference::Different:
                ++counters.updates;
                break;
            }
        });
    }
    return all;
}
