#pragma once

#include "db/clsConn.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

/// The rows that conflicts of the local database are about.
class WaitingRows
{
public:
    explicit WaitingRows(clsConn& local);

    bool contains(const std::string& table, const _variant_t& key) const;
    size_t size() const { return rows_.size(); }

    /// How many of the rows, and which records, are not among those of an earlier look.
    size_t countNotIn(const WaitingRows& before) const;
    std::vector<std::string> idsNotIn(const WaitingRows& before) const;

private:
    /// Table and key, in capitals.
    std::set<std::pair<std::wstring, std::wstring>> rows_;
    std::set<std::string> ids_;
};
