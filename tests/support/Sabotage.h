#pragma once

#include "PracticeSide.h"

#include <string>
#include <utility>

/// Statements that change a database for one test, and those that undo it: run when it ends, however it ends.
class Sabotage
{
public:
    Sabotage(const PracticeSide& side, const std::wstring& change, std::wstring undo);
    ~Sabotage();
    Sabotage(const Sabotage&) = delete;
    Sabotage& operator=(const Sabotage&) = delete;

    void undo();

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

/// PostgreSQL only: ends the connection that does `event` (insert, update, delete) to a row of `table` that fits
/// `condition`, in the middle of the statement. The row is NEW, or OLD for a delete.
class CutConnection
{
public:
    CutConnection(const PracticeSide& side, const std::wstring& table, const std::wstring& event,
                  const std::wstring& condition);
    void undo() { trigger_.undo(); }

private:
    Sabotage function_;
    Sabotage trigger_;
};

/// A table of a test's own in both databases, addressed by the prefixes like any other.
class OwnTable
{
public:
    struct Pair
    {
        const PracticeSide& source;
        const PracticeSide& destination;
        std::wstring sourcePrefix;
        std::wstring destinationPrefix;
        bool isPostgreSql;
    };

    OwnTable(const Pair& pair, const std::wstring& name, const std::wstring& columns);

private:
    Sabotage source_;
    Sabotage destination_;
    Sabotage sourceInDestination_;
    Sabotage destinationInSource_;
};
