#pragma once

#include "PracticeSide.h"
#include "ServerSql.h"

#include <string>

/// Statements that change a database for one test, and those that undo it: run when it ends, however it ends.
class Sabotage
{
public:
    Sabotage(const PracticeSide& side, const std::wstring& change, std::wstring undo);
    Sabotage(const PracticeSide& side, const Change& change) : Sabotage(side, change.make, change.undo) {}
    ~Sabotage();
    Sabotage(const Sabotage&) = delete;
    Sabotage& operator=(const Sabotage&) = delete;

private:
    const PracticeSide& side_;
    std::wstring undo_;
};

/// Makes every row that fits `condition` fail a constraint of `table`.
class FailingRows : public Sabotage
{
public:
    FailingRows(const PracticeSide& side, const std::wstring& table, const std::wstring& condition);
};
