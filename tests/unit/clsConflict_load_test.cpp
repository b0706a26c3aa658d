#include "conflicts/clsConflict.h"

#include "com/convert.h"
#include "support/ScriptedObject.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

namespace {

using com::Error;
using Microsoft::WRL::ComPtr;

constexpr DATE kNoon = 46341.5; // 15 November 2026 at noon

_variant_t date(DATE value)
{
    return _variant_t(value, VT_DATE);
}

/// Loading from a row of replication_conflict.
class ConflictLoad : public RecordingTest
{
protected:
    void set(const std::wstring& column, const _variant_t& value)
    {
        for (size_t index = 0; index < row_.columns.size(); ++index)
            if (row_.columns[index].name == column)
                row_.rows[0][index] = value;
    }

    void load() { conflict_.loadFromRs(ado::Recordset(ado().recordset(row_))); }

    /// A column's value that cannot be loaded.
    void expectFailure(const std::wstring& column, const _variant_t& value, long number)
    {
        const AdoRows good = row_;
        set(column, value);
        const Error error = raised([&] { load(); });
        EXPECT_EQ(error,
                  (Error{number, L"clsConflict.loadFromRs", number == 94 ? L"Invalid use of Null" : L"Type mismatch"}));
        row_ = good;
    }

    AdoRows row_{{{L"unid", 72},
                  {L"last_replicate_date", 135},
                  {L"table_name", 200},
                  {L"patient_id", 3},
                  {L"guid", 72},
                  {L"conflict_type", 2},
                  {L"key_info", 200},
                  {L"source_mod_date", 135},
                  {L"destination_mod_date", 135}},
                 {{L"{C1}", date(kNoon + 1), L"shortcut", 7L, L"{K1}", static_cast<short>(4), L"Item K1", date(kNoon),
                   date(kNoon - 1)}}};
    clsConflict conflict_;
};

TEST_F(ConflictLoad, HeaderIsReadFromTheRow)
{
    load();
    EXPECT_EQ(conflict_.vConflictId(), _variant_t(L"{C1}"));
    EXPECT_EQ(conflict_.dNextReplicate, kNoon + 1);
    EXPECT_EQ(conflict_.sTable, L"shortcut");
    EXPECT_EQ(conflict_.lPatientId, 7);
    EXPECT_EQ(conflict_.vGuid, _variant_t(L"{K1}"));
    EXPECT_EQ(conflict_.iConflictType, 4);
    EXPECT_EQ(conflict_.sKeyInfo, L"Item K1");
    EXPECT_EQ(conflict_.dSource, kNoon);
    EXPECT_EQ(conflict_.dDestination, kNoon - 1);
    EXPECT_EQ(conflict_.bExists(), L"True");
}

TEST_F(ConflictLoad, ColumnsAreReadInTheirOrderAndNothingElseIsDone)
{
    const ado::Recordset rs(ado().recordset(row_));
    ado().forget();
    conflict_.loadFromRs(rs);
    std::vector<std::wstring> items;
    for (const std::wstring& call : ado().callsAndReads())
        if (call.find(L"Fields.Item(") != std::wstring::npos)
            items.push_back(call.substr(call.find(L'(')));
    EXPECT_EQ(items,
              (std::vector<std::wstring>{L"(\"unid\")", L"(\"last_replicate_date\")", L"(\"table_name\")",
                                         L"(\"patient_id\")", L"(\"guid\")", L"(\"conflict_type\")", L"(\"key_info\")",
                                         L"(\"source_mod_date\")", L"(\"destination_mod_date\")"}));
    EXPECT_EQ(ado().statements(), std::vector<AdoStatement>());
}

TEST_F(ConflictLoad, WhatTheRowDoesNotHoldIsNotTouched)
{
    const ComPtr<ScriptedObject> data = com::makeObject<ScriptedObject>();
    EXPECT_FALSE(conflict_.edit());
    const std::wstring message = conflict_.sErrorMessage();
    conflict_.colData = data;
    conflict_.iResolutionType = USE_DESTINATION;
    load();
    EXPECT_EQ(conflict_.colData.Get(), data.Get());
    EXPECT_EQ(conflict_.iResolutionType, USE_DESTINATION);
    EXPECT_EQ(conflict_.sErrorMessage(), message);
}

TEST_F(ConflictLoad, NullGuidBecomesAnEmptyText)
{
    set(L"guid", adoNull());
    load();
    EXPECT_EQ(conflict_.vGuid.vt, VT_BSTR);
    EXPECT_EQ(com::toText(conflict_.vGuid), L"");
}

TEST_F(ConflictLoad, NullKeyInfoBecomesAnEmptyText)
{
    set(L"key_info", adoNull());
    load();
    EXPECT_EQ(conflict_.sKeyInfo, L"");
}

TEST_F(ConflictLoad, IdIsTakenAsItIs)
{
    set(L"unid", adoNull());
    load();
    EXPECT_EQ(conflict_.vConflictId().vt, VT_NULL);
    set(L"unid", 12L);
    load();
    EXPECT_EQ(conflict_.vConflictId(), _variant_t(12L));
}

TEST_F(ConflictLoad, TextsAreConverted)
{
    set(L"last_replicate_date", L"11/15/2026 12:00:00 PM");
    set(L"table_name", 5L);
    set(L"patient_id", L"12");
    set(L"conflict_type", L"3");
    set(L"source_mod_date", L"11/14/2026");
    load();
    EXPECT_EQ(conflict_.dNextReplicate, kNoon);
    EXPECT_EQ(conflict_.sTable, L"5");
    EXPECT_EQ(conflict_.lPatientId, 12);
    EXPECT_EQ(conflict_.iConflictType, 3);
    EXPECT_EQ(conflict_.dSource, kNoon - 1.5);
}

TEST_F(ConflictLoad, RowDatesLoseTheirFractionsAndTheRunsDateDoesNot)
{
    const double fraction = 0.25 / 86400;
    set(L"last_replicate_date", date(kNoon + fraction));
    set(L"source_mod_date", date(kNoon + fraction));
    set(L"destination_mod_date", date(kNoon + fraction));
    load();
    EXPECT_EQ(conflict_.dNextReplicate, kNoon + fraction);
    EXPECT_EQ(conflict_.dSource, kNoon);
    EXPECT_EQ(conflict_.dDestination, kNoon);
}

TEST_F(ConflictLoad, NullWhereAValueIsNeededRaises94)
{
    for (const wchar_t* column : {L"last_replicate_date", L"table_name", L"patient_id"})
        expectFailure(column, adoNull(), 94);
}

TEST_F(ConflictLoad, EmptyKindOrDateRaises13)
{
    for (const wchar_t* column : {L"conflict_type", L"source_mod_date", L"destination_mod_date"}) {
        expectFailure(column, adoNull(), 13);
        expectFailure(column, L"", 13);
    }
}

TEST_F(ConflictLoad, FailureKeepsWhatWasReadBeforeItAndTheConflictExists)
{
    set(L"patient_id", adoNull());
    EXPECT_EQ(raised([&] { load(); }).number, 94);
    EXPECT_EQ(conflict_.bExists(), L"True");
    EXPECT_EQ(conflict_.vConflictId(), _variant_t(L"{C1}"));
    EXPECT_EQ(conflict_.dNextReplicate, kNoon + 1);
    EXPECT_EQ(conflict_.sTable, L"shortcut");
    EXPECT_EQ(conflict_.vGuid.vt, VT_EMPTY);
    EXPECT_EQ(conflict_.iConflictType, 0);
    EXPECT_EQ(conflict_.dSource, 0);
}

TEST_F(ConflictLoad, RecordsetAtItsEndRaises)
{
    row_.rows.clear();
    const Error error = raised([&] { load(); });
    EXPECT_EQ(error.number, static_cast<long>(0x80040000) + 3021);
    EXPECT_EQ(error.source, L"clsConflict.loadFromRs");
    EXPECT_EQ(conflict_.bExists(), L"True");
}

TEST_F(ConflictLoad, MissingColumnRaises)
{
    row_.columns[4].name = L"other";
    EXPECT_EQ(raised([&] { load(); }).number, static_cast<long>(0x80040000) + 3265);
}

TEST_F(ConflictLoad, NoRecordsetRaises91)
{
    EXPECT_EQ(raised([&] { conflict_.loadFromRs(ado::Recordset()); }),
              (Error{91, L"clsConflict.loadFromRs", L"Object variable or With block variable not set"}));
    EXPECT_EQ(conflict_.bExists(), L"True");
}

TEST_F(ConflictLoad, LoadedConflictIsNotSaved)
{
    connectedSettings();
    load();
    EXPECT_EQ(raised([&] { conflict_.save(); }),
              (Error{kOwnErrorRaised, L"clsConflict.save", L"Method to update conflicts not implemented"}));
    EXPECT_EQ(ado().statements(), std::vector<AdoStatement>());
}

/// A recordset of a host's own: nothing but IDispatch, with ids of its own and Fields as a property with arguments.
ComPtr<ScriptedObject> scripted(const wchar_t* member, ScriptedObject::Answer answer)
{
    const ComPtr<ScriptedObject> object = com::makeObject<ScriptedObject>();
    object->names[member] = 900;
    object->answers[900] = std::move(answer);
    return object;
}

HRESULT give(const _variant_t& value, VARIANT* result)
{
    return VariantCopy(result, const_cast<_variant_t*>(&value));
}

TEST_F(ConflictLoad, RecordsetOfAnyMakeServes)
{
    const ComPtr<ScriptedObject> fields = scripted(L"Item", [&](WORD, DISPPARAMS& params, VARIANT* result, EXCEPINFO*) {
        const std::wstring name = com::toText(params.rgvarg[0]);
        for (size_t index = 0; index < row_.columns.size(); ++index)
            if (row_.columns[index].name == name) {
                const _variant_t value = row_.rows[0][index];
                const ComPtr<ScriptedObject> field = scripted(
                    L"Value", [value](WORD, DISPPARAMS&, VARIANT* out, EXCEPINFO*) { return give(value, out); });
                return give(_variant_t(static_cast<IDispatch*>(field.Get())), result);
            }
        return DISP_E_BADINDEX;
    });
    const ComPtr<ScriptedObject> rs = scripted(L"Fields", [&](WORD, DISPPARAMS&, VARIANT* result, EXCEPINFO*) {
        return give(_variant_t(static_cast<IDispatch*>(fields.Get())), result);
    });
    conflict_.loadFromRs(ado::Recordset(com::Dispatch(rs.Get())));
    EXPECT_EQ(conflict_.sTable, L"shortcut");
    EXPECT_EQ(conflict_.iConflictType, 4);
    EXPECT_EQ(conflict_.dDestination, kNoon - 1);
}

TEST_F(ConflictLoad, ObjectThatIsNoRecordsetRaises438)
{
    const ComPtr<ScriptedObject> stranger = com::makeObject<ScriptedObject>();
    EXPECT_EQ(raised([&] { conflict_.loadFromRs(ado::Recordset(com::Dispatch(stranger.Get()))); }),
              (Error{438, L"clsConflict.loadFromRs", L"Object doesn't support this property or method"}));
}

} // namespace
