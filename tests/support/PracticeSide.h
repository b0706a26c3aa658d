#pragma once

#include "com/dispatch.h"

#include <string>
#include <vector>

/// One of the two databases, through an ADO connection of its own.
class PracticeSide
{
public:
    /// Connects as the component's login. On Windows it raises std::runtime_error unless all databases that a test can
    /// reach, also by the prefixes, are claimed by a run of the kit: their rows are those of tests.
    PracticeSide(const std::wstring& dsn, const std::wstring& password);
    ~PracticeSide();
    PracticeSide(const PracticeSide&) = delete;
    PracticeSide& operator=(const PracticeSide&) = delete;

    /// The name under which messages of a run call this database.
    std::wstring name() const;
    com::Dispatch connection() const { return connection_; }

    /// Empties the practice's tables and those that runs write, and restores FK_patient_dentist.
    void emptyTables() const;

    void execute(const std::wstring& sql) const;

    /// The rows of a query, each as its values with '|' between them: <Null> for Null, dates as 2025-03-10
    /// 12:00:00.000, trailing blanks of fixed-length text left out.
    std::vector<std::wstring> rows(const std::wstring& sql) const;

    /// The one row of a query; <none> when there is no row, and a failure of the test when there are several.
    std::wstring row(const std::wstring& sql) const;

    /// The first value of a query's first row; raises when there is no row.
    _variant_t value(const std::wstring& sql) const;

    long count(const std::wstring& table) const;

    /// Whether FK_patient_dentist is there.
    bool hasPatientKey() const;
    void restorePatientKey() const;

    /// Both control records ready, without error and with kLastRun as the end of the last run; and the marks by which
    /// the sides know each other.
    void restoreControl() const;

    static constexpr wchar_t kLastRun[] = L"2025-03-10T12:00:00";

protected:
    struct Unclaimed
    {
    };
    /// Connects to a database that may hold anybody's rows.
    PracticeSide(const std::wstring& dsn, const std::wstring& password, Unclaimed);

    /// Whether the rows of a database are those of tests, "1" or "0", as it says itself; else why it does not say it.
    std::wstring rowsOfTests(const std::wstring& prefix) const;

    /// A table that `emptyTables` would take rows from; empty when there is none.
    std::wstring filledTable() const;

private:
    com::Dispatch query(const std::wstring& sql) const;

    com::Dispatch connection_;
};
