#pragma once

#include "db/clsConn.h"

#include <string>
#include <utility>
#include <vector>

/// What a foreign key does when a row is deleted to which others refer.
enum class OnDelete
{
    /// The row cannot be deleted.
    Refuse,
    /// The rows that refer to it are deleted too.
    DeleteToo,
    /// Their columns are set to Null, or to their default.
    Clear,
};

struct ForeignKey
{
    std::string name;
    /// The table that refers, and the one that it refers to.
    std::string child;
    std::string parent;
    /// Each column of the child, with the parent's that it refers to.
    std::vector<std::pair<std::string, std::string>> columns;
    OnDelete onDelete = OnDelete::Refuse;
};

/// The foreign keys of a database that are in force, by their names. A child in another schema than the login's has
/// that in front of its name.
std::vector<ForeignKey> foreignKeysOf(clsConn& conn);

/// What the key does when a row of its parent is deleted; empty where it refuses that.
std::string deletionEffect(const ForeignKey& key);

/// Groups the tables so that each comes after those that it refers to, else as they were. A group is one table, or
/// tables that refer to each other in a circle. Names without regard to case and brackets.
std::vector<std::vector<std::string>> parentsFirst(const std::vector<std::string>& tables,
                                                   const std::vector<ForeignKey>& keys);
