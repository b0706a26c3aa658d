#include "ForeignKeys.h"

#include "commands/rows.h"

#include <algorithm>
#include <fmt/format.h>

using nlohmann::ordered_json;

namespace {

// The standard views of SQL Server know only keys that refer to a constraint, and not which column refers to which.
constexpr wchar_t kSqlServer[] =
    L"select k.name as key_name,"
    L" case k.schema_id when schema_id() then '' else schema_name(k.schema_id) + '.' end + c.name as child,"
    L" case p.schema_id when schema_id() then '' else schema_name(p.schema_id) + '.' end + p.name as parent,"
    L" cc.name as child_column, pc.name as parent_column,"
    L" replace(k.delete_referential_action_desc, '_', ' ') as delete_rule"
    L" from sys.foreign_keys k join sys.foreign_key_columns kc on kc.constraint_object_id = k.object_id"
    L" join sys.tables c on c.object_id = k.parent_object_id join sys.tables p on p.object_id = k.referenced_object_id"
    L" join sys.columns cc on cc.object_id = kc.parent_object_id and cc.column_id = kc.parent_column_id"
    L" join sys.columns pc on pc.object_id = kc.referenced_object_id and pc.column_id = kc.referenced_column_id"
    L" where k.is_disabled = 0 order by key_name, child, kc.constraint_column_id";

constexpr wchar_t kStandard[] =
    L"select k.constraint_name as key_name, c.table_name as child, p.table_name as parent,"
    L" c.column_name as child_column, p.column_name as parent_column, k.delete_rule as delete_rule"
    L" from information_schema.referential_constraints k"
    L" join information_schema.key_column_usage c on c.constraint_schema = k.constraint_schema"
    L" and c.constraint_name = k.constraint_name"
    L" join information_schema.key_column_usage p on p.constraint_schema = k.unique_constraint_schema"
    L" and p.constraint_name = k.unique_constraint_name and p.ordinal_position = c.position_in_unique_constraint"
    L" where k.constraint_schema = current_schema order by key_name, child, c.ordinal_position";

OnDelete onDelete(const std::string& rule)
{
    if (rule == "CASCADE")
        return OnDelete::DeleteToo;
    return rule.starts_with("SET") ? OnDelete::Clear : OnDelete::Refuse;
}

/// Finds the circles of a graph and puts them, and what is in none, in an order (Tarjan's algorithm).
class Circles
{
public:
    /// `successors[i]` are those that come before node i.
    explicit Circles(const std::vector<std::vector<size_t>>& successors)
        : successors_(successors),
          index_(successors.size(), 0),
          lowest_(successors.size(), 0),
          waits_(successors.size(), false)
    {
        for (size_t node = 0; node < successors.size(); ++node)
            if (index_[node] == 0)
                visit(node);
    }

    std::vector<std::vector<size_t>> take() { return std::move(groups_); }

private:
    void visit(size_t node)
    {
        index_[node] = lowest_[node] = ++visited_;
        path_.push_back(node);
        waits_[node] = true;
        for (const size_t next : successors_[node]) {
            if (index_[next] == 0)
                visit(next);
            if (waits_[next])
                lowest_[node] = std::min(lowest_[node], lowest_[next]);
        }
        if (lowest_[node] == index_[node])
            close(node);
    }

    void close(size_t first)
    {
        std::vector<size_t>& group = groups_.emplace_back();
        do {
            group.push_back(path_.back());
            waits_[path_.back()] = false;
            path_.pop_back();
        } while (group.back() != first);
        std::ranges::sort(group);
    }

    const std::vector<std::vector<size_t>>& successors_;
    /// The order of the visits, from 1; 0 for nodes that were not visited.
    std::vector<size_t> index_;
    /// The earliest node on the path that can be reached.
    std::vector<size_t> lowest_;
    std::vector<bool> waits_;
    std::vector<size_t> path_;
    size_t visited_ = 0;
    std::vector<std::vector<size_t>> groups_;
};

} // namespace

std::vector<ForeignKey> foreignKeysOf(clsConn& conn)
{
    std::vector<ForeignKey> keys;
    for (const ordered_json& row : catalogRows(conn, kSqlServer, kStandard)) {
        const std::string name = row["key_name"];
        const std::string child = row["child"];
        if (keys.empty() || keys.back().name != name || keys.back().child != child)
            keys.push_back({name, child, row["parent"], {}, onDelete(row["delete_rule"])});
        keys.back().columns.emplace_back(row["child_column"], row["parent_column"]);
    }
    return keys;
}

std::string deletionEffect(const ForeignKey& key)
{
    switch (key.onDelete) {
    case OnDelete::DeleteToo:
        return fmt::format("with a row, the destination deletes the rows of {} that refer to it (foreign key {}, on "
                           "delete cascade)",
                           key.child, key.name);
    case OnDelete::Clear:
        return fmt::format("with a row, the destination takes the reference to it out of the rows of {} (foreign key "
                           "{}, on delete set null or default)",
                           key.child, key.name);
    case OnDelete::Refuse:
        break;
    }
    return {};
}

std::vector<std::vector<std::string>> parentsFirst(const std::vector<std::string>& tables,
                                                   const std::vector<ForeignKey>& keys)
{
    const auto indexOf = [&](const std::string& name) {
        return static_cast<size_t>(
            std::ranges::find_if(tables, [&](const std::string& table) { return isSameName(table, name); }) -
            tables.begin());
    };
    std::vector<std::vector<size_t>> parents(tables.size());
    for (const ForeignKey& key : keys) {
        const size_t child = indexOf(key.child);
        const size_t parent = indexOf(key.parent);
        if (child < tables.size() && parent < tables.size())
            parents[child].push_back(parent);
    }
    std::vector<std::vector<std::string>> groups;
    for (const std::vector<size_t>& circle : Circles(parents).take()) {
        std::vector<std::string> group;
        for (const size_t index : circle)
            group.push_back(tables[index]);
        groups.push_back(std::move(group));
    }
    return groups;
}
