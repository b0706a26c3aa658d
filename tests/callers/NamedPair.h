#pragma once

#include "support/RecordingAdo.h"

/// The answers of a pair of databases for recording ADO: all names and values in them bear one name, and how many rows
/// they have comes from one number, so that nothing of them can be taken for another pair's. One-way runs are in
/// conflict over the table "shortcut" only; a table for two-way runs has "both" in its name.
class NamedPair
{
public:
    explicit NamedPair(int number) : number_(number), name_(L"t" + std::to_wstring(number) + L"x") {}

    /// Whether the offices run the component; a laptop does for every second pair.
    bool isOffices() const { return number_ % 2 == 0; }
    const std::wstring& name() const { return name_; }
    std::wstring sourcePrefix() const { return name_ + L"source."; }
    std::wstring destinationPrefix() const { return name_ + L"destination."; }

    /// For RecordingAdo::answerOthers.
    AdoAnswer answer(const std::wstring& connection, const std::wstring& statement) const;

    /// Rows that a comparison finds changed, missing in the destination, and missing in the source.
    int changed() const { return number_ + 1; }
    int missingInDestination() const { return number_ + 2; }
    int missingInSource() const { return number_ + 3; }
    long copied() const { return 100 + number_; }

    std::wstring key(const wchar_t* kind, int index) const { return name_ + kind + std::to_wstring(index); }

private:
    AdoAnswer changedRows(bool lastIsNewerInDestination) const;
    AdoAnswer missingRows(const wchar_t* kind, int count, DATE modified) const;

    int number_;
    std::wstring name_;
};
