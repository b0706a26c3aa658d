#pragma once

#include "conflicts/Collection.h"
#include "control/clsReplicate.h"
#include "recording_error.h"
#include "recording_fixture.h"
#include "recording_table.h"

inline constexpr DATE kLast = 46341;  // 15 November 2026
inline constexpr DATE kNow = 46342.5; // the next day at noon
inline constexpr short kFrequency = 90;

inline constexpr wchar_t kProgramSql[] = L"Select * from Control Where Type = 'ReplicationVersion'";
inline constexpr wchar_t kVersionsSql[] =
    L"Select [id] from control where type in ('PatInfoVer', 'Version') order by type";
inline constexpr wchar_t kClockSql[] = L"select top 1 getdate() from control";
inline constexpr wchar_t kDropKey[] =
    L"IF OBJECT_ID('dbo.FK_patient_dentist', 'F') IS NOT NULL alter table patient drop "
    L"constraint FK_patient_dentist";
inline constexpr wchar_t kAddKey[] =
    L"alter table patient ADD CONSTRAINT FK_patient_dentist FOREIGN KEY (dc_id, dentist_id) "
    L"REFERENCES dentist(dc_id, dentist_id) ON DELETE NO ACTION";

/// A test of a run object whose site has a control record.
class ReplicateTest : public RecordingTest
{
protected:
    using Error = com::Error;
    using Lines = std::vector<std::wstring>;
    using Statements = std::vector<AdoStatement>;

    ReplicateTest() { connectAt(0); }

    /// Connects as a site whose control record is ready and without error.
    void connectAt(long site, const std::wstring& role = L"SOURCE")
    {
        releaseConnections();
        ConnectOptions options;
        options.site = site;
        options.role = role;
        connectedSettings(options);
        site_ = std::to_wstring(site);
        local_ = role == L"SOURCE" ? L"source" : L"destination";
    }

    std::wstring flagsSql() const
    {
        return L"select ready_f, error_f, error_message from replication_control where unique_key = " + site_;
    }
    std::wstring recordSql() const { return L"select * from replication_control where unique_key = " + site_; }
    std::wstring advanceSql() const
    {
        return L"update replication_control set last_timestamp = '11/16/2026 12:00:00 PM' where unique_key = " + site_;
    }
    std::wstring nextSql() const
    {
        return L"update replication_control set next_timestamp = dateadd(s,90,getdate()) where unique_key = " + site_;
    }
    std::wstring clearReadySql() const
    {
        return L"update replication_control set ready_f = 0 where unique_key = " + site_;
    }
    std::wstring clearCountsSql() const { return L"delete from replication_counts where unique_key = " + site_; }

    void flags(const _variant_t& ready, const _variant_t& error, const _variant_t& message)
    {
        ado().answer(
            flagsSql(),
            {{{{L"ready_f", 11}, {L"error_f", 11}, {L"error_message", 200}}, {{ready, error, message}}}, 0, {}});
    }

    void lastTimestamp(const _variant_t& value)
    {
        ado().answer(recordSql(), {{{{L"unique_key", 2}, {L"last_timestamp", 135}}, {{0L, value}}}, 0, {}});
        ado().answer(kClockSql, {{{{L"", 135}}, {{_variant_t(kNow, VT_DATE)}}}, 0, {}});
    }

    /// A control record that is ready, without error, and whose updates find their one row.
    void goodRecord()
    {
        ado().answer(kProgramSql, adoTexts(L"id", {L"3.46"}));
        flags(true, false, adoNull());
        lastTimestamp(_variant_t(kLast, VT_DATE));
        ado().answer(advanceSql(), adoAffected(1));
        ado().answer(nextSql(), adoAffected(1));
    }

    void initialise() { replicate_.initNextRun(kFrequency, L"3.46"); }

    /// A run object whose interval is loaded.
    void ready()
    {
        goodRecord();
        initialise();
        ado().forget();
    }

    Error initError()
    {
        return raised([&] { initialise(); });
    }

    /// A failure of initNextRun under its own name, which also stands in its members.
    void expectInitFailure(long number, const std::wstring& description)
    {
        EXPECT_EQ(initError(), (Error{number, L"clsReplicate.initNextRun", description}));
        EXPECT_TRUE(replicate_.bError());
        EXPECT_EQ(replicate_.sErrorMessage(),
                  L"clsReplicate.initNextRun: " + std::to_wstring(number) + L": " + description);
    }

    static Microsoft::WRL::ComPtr<RecordingTable> table() { return com::makeObject<RecordingTable>(); }

    static _variant_t tables(std::initializer_list<RecordingTable*> items)
    {
        const auto collection = com::makeObject<quinmark::Collection>();
        for (RecordingTable* item : items)
            collection->add(_variant_t(static_cast<IDispatch*>(item)));
        return _variant_t(static_cast<IDispatch*>(collection.Get()));
    }

    Statements onLocal(const Lines& texts) const
    {
        Statements statements;
        for (const std::wstring& text : texts)
            statements.emplace_back(local_, text);
        return statements;
    }

    Lines officesRun() const
    {
        return {clearCountsSql(), kDropKey, kAddKey, advanceSql(), nextSql(), clearReadySql(), flagsSql()};
    }

    clsReplicate replicate_;
    std::wstring site_;
    std::wstring local_;
};
