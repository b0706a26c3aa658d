#pragma once

#include "support/PracticeSide.h"

/// A database before and after the tests, which take all rows out of it.
class TestDatabase : PracticeSide
{
public:
    TestDatabase(const std::wstring& dsn, const std::wstring& password);

    /// Why tests may not touch it, or what the prefixes reach from it; empty when they may. Changes nothing.
    std::wstring refusal() const;

    /// Says that its rows are those of tests, as far as it has any.
    void claim() const;

    /// Empties it, and says that rows it gets from here on are not those of tests.
    void release() const;

    /// The server's name and version.
    std::wstring server() const;

private:
    const std::wstring dsn_;
};
