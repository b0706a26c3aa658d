#pragma once

#include "db/clsConn.h"

#include <set>
#include <string>
#include <utility>

/// The rows that conflicts of the local database are about.
class WaitingRows
{
public:
    explicit WaitingRows(clsConn& local);

    bool contains(const std::string& table, const _variant_t& key) const;

private:
    /// Table and key, in capitals.
    std::set<std::pair<std::wstring, std::wstring>> rows_;
};
