#pragma once

#include "com/dispatch.h"

#include <string>
#include <vector>

/// One of the two databases, through an ADO connection of its own.
class PracticeSide
{
public:
    /// Connects as the component's login.
    PracticeSide(const std::wstring& dsn, const std::wstring& password);
    ~PracticeSide();
    PracticeSide(const PracticeSide&) = delete;
    PracticeSide& operator=(const PracticeSide&) = delete;

    /// The name under which messages of a run call this database.
    std::wstring name() const;
    com::Dispatch connection() const { return connection_; }

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

private:
    com::Dispatch query(const std::wstring& sql) const;

    com::Dispatch connection_;
};
