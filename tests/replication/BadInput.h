#pragma once

#include "com/convert.h"
#include "support/PracticePair.h"
#include "support/Raised.h"

#include <gmock/gmock.h>

namespace com {

/// The text of an error in a failed expectation.
inline void PrintTo(const Error& error, std::ostream* stream)
{
    *stream << error.number << ", " << testing::PrintToString(error.source) << ": "
            << testing::PrintToString(error.description);
}

} // namespace com

/// An error with this number and source, and a description that is a text or fits a matcher.
template <class Description>
testing::Matcher<com::Error> isError(long number, const std::wstring& source, Description description)
{
    return testing::AllOf(testing::Field("number", &com::Error::number, number),
                          testing::Field("source", &com::Error::source, source),
                          testing::Field("description", &com::Error::description, std::move(description)));
}

/// The number of an error that a routine of the component raises itself.
inline constexpr long kOwnError = static_cast<long>(0x800403E8);

inline constexpr long kFailed = static_cast<long>(0x80004005);
inline constexpr long kNoSuchTable = static_cast<long>(0x80040E37);

inline const TablePlan kConfig{.method = ONE_WAY_DELETE_ALL, .table = L"config"};

/// Runs that fail.
class BadInput : public PracticePair
{
protected:
    using PracticePair::resetError;

    com::Error connectFailure()
    {
        return raised([&] { connect(); });
    }

    com::Error runFailure(const std::vector<TablePlan>& plans)
    {
        return raised([&] { replicate(plans); });
    }

    com::Error initFailure(_clsReplicate& run)
    {
        return raised([&] { initNextRun(run); });
    }

    static std::wstring runError(_clsReplicate& run)
    {
        return com::toText(com::Dispatch(&run).property(L"sErrorMessage"));
    }

    static bool runFailed(_clsReplicate& run) { return com::toBool(com::Dispatch(&run).property(L"bError")); }

    /// Clears the error state of both sites, as an administrator does.
    static void resetError(const PracticeSide& side)
    {
        side.execute(L"update replication_control set error_f = 0, error_message = null");
    }

    void expectGoodRun()
    {
        source().execute(L"insert into config (category, config_name) values ('run', 'after')");
        EXPECT_EQ(replicate(kConfig), (TableCounters{.destAdd = source().count(L"config")}));
        EXPECT_EQ(destination().count(L"config"), source().count(L"config"));
        EXPECT_TRUE(local().hasPatientKey());
    }
};
