#pragma once

#include "IsError.h"
#include "com/convert.h"
#include "support/PracticePair.h"
#include "support/Raised.h"

inline constexpr long kFailed = static_cast<long>(0x80004005);
inline constexpr long kLogonRefused = static_cast<long>(0x80040E4D);
inline constexpr long kNoSuchTable = static_cast<long>(0x80040E37);
inline constexpr long kCheckFailed = static_cast<long>(0x80040000);

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
        _bstr_t message;
        com::checkCall(run.get_sErrorMessage(message.GetAddress()));
        return message.length() > 0 ? std::wstring(message) : std::wstring();
    }

    static bool runFailed(_clsReplicate& run)
    {
        VARIANT_BOOL failed = VARIANT_FALSE;
        com::checkCall(run.get_bError(&failed));
        return failed != VARIANT_FALSE;
    }

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
