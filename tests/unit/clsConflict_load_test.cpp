#include "conflicts/clsConflict.h"

#include "com/convert.h"
#include "support/ScriptedObject.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

#include <algorithm>

namespace {

using com::Error;
using Microsoft::WRL::ComPtr;


_variant_t date(DATE value)
{
    return _variant_t(value, VT_DATE);
}

/// Loading from a row of replication_conflict.
class ConflictLoad : public RecordingTest
{
protected:
    _variant_t& value(const std::wstring& column)
    {
        const auto has = [&](const AdoColumn& candidate) { return candidate.name == column; };
        const auto found = std::find_if(row_.columns.begin(), row_.columns.end(), has);
        return row_.rows[0].at(static_cast<size_t>(found - row_.columns.begin()));
    }

    void load() { conflict_.loadFromRs(ado::Recordset(ado().recordset(row_))); }

    Error loadError()
    {
        const Error error = raised([&] { load(); });
        EXPECT_EQ(error.source, L"clsConflict.loadFromRs");
        EXPECT_EQ(conflict_.bExists(), L"True");
        return error;
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

TEST_F(ConflictLoad, HeaderIsReadFromTheRowInItsOrderAndNothingElseIsDone)
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
    std::wstring items;
    for (const std::wstring& call : ado().callsAndReads())
        if (call.find(L"Fields.Item(") != std::wstring::npos)
            items += call.substr(call.find(L'('));
    EXPECT_EQ(items, L"(\"unid\")(\"last_replicate_date\")(\"table_name\")(\"patient_id\")(\"guid\")"
                     L"(\"conflict_type\")(\"key_info\")(\"source_mod_date\")(\"destination_mod_date\")");
    EXPECT_EQ(ado().statements(), std::vector<AdoStatement>());
}

TEST_F(ConflictLoad, MembersThatTheRowDoesNotHoldAreNotTouched)
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

TEST_F(ConflictLoad, NullsOfIdGuidAndKeyInfoAreTaken)
{
    for (const wchar_t* column : {L"unid", L"guid", L"key_info"})
        value(column) = adoNull();
    load();
    EXPECT_EQ(conflict_.vConflictId().vt, VT_NULL);
    EXPECT_EQ(conflict_.vGuid.vt, VT_BSTR);
    EXPECT_EQ(com::toText(conflict_.vGuid), L"");
    EXPECT_EQ(conflict_.sKeyInfo, L"");
}

TEST_F(ConflictLoad, ValuesButTheIdAreConverted)
{
    value(L"unid") = 12L;
    value(L"last_replicate_date") = L"11/15/2026 12:00:00 PM";
    value(L"table_name") = 5L;
    value(L"patient_id") = L"12";
    value(L"conflict_type") = L"3";
    value(L"source_mod_date") = L"11/14/2026";
    load();
    EXPECT_EQ(conflict_.vConflictId(), _variant_t(12L));
    EXPECT_EQ(conflict_.dNextReplicate, kNoon);
    EXPECT_EQ(conflict_.sTable, L"5");
    EXPECT_EQ(conflict_.lPatientId, 12);
    EXPECT_EQ(conflict_.iConflictType, 3);
    EXPECT_EQ(conflict_.dSource, kNoon - 1.5);
}

TEST_F(ConflictLoad, RowDatesLoseTheirFractionsAndTheRunsDateDoesNot)
{
    const DATE fraction = kNoon + 0.25 / 86400;
    for (const wchar_t* column : {L"last_replicate_date", L"source_mod_date", L"destination_mod_date"})
        value(column) = date(fraction);
    load();
    EXPECT_EQ(conflict_.dNextReplicate, fraction);
    EXPECT_EQ(conflict_.dSource, kNoon);
    EXPECT_EQ(conflict_.dDestination, kNoon);
}

TEST_F(ConflictLoad, ValueThatCannotBeLoadedRaises)
{
    const std::pair<const wchar_t*, long> numbers[] = {{L"last_replicate_date", 94}, {L"table_name", 94},
                                                       {L"patient_id", 94},          {L"conflict_type", 13},
                                                       {L"source_mod_date", 13},     {L"destination_mod_date", 13}};
    for (const auto& [column, number] : numbers) {
        const _variant_t good = std::exchange(value(column), adoNull());
        EXPECT_EQ(loadError().number, number) << number;
        value(column) = good;
    }
}

TEST_F(ConflictLoad, FailureKeepsTheMembersReadBeforeIt)
{
    value(L"patient_id") = adoNull();
    loadError();
    EXPECT_EQ(conflict_.vConflictId(), _variant_t(L"{C1}"));
    EXPECT_EQ(conflict_.dNextReplicate, kNoon + 1);
    EXPECT_EQ(conflict_.sTable, L"shortcut");
    EXPECT_EQ(conflict_.vGuid.vt, VT_EMPTY);
    EXPECT_EQ(conflict_.iConflictType, 0);
    EXPECT_EQ(conflict_.dSource, 0);
}

TEST_F(ConflictLoad, RecordsetWithoutTheRowOrAColumnRaises)
{
    row_.columns[4].name = L"other";
    EXPECT_EQ(loadError().number, static_cast<long>(0x80040000) + 3265);
    row_.rows.clear();
    EXPECT_EQ(loadError().number, static_cast<long>(0x80040000) + 3021);
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
        const ComPtr<ScriptedObject> field =
            scripted(L"Value", [found = value(com::toText(params.rgvarg[0]))](WORD, DISPPARAMS&, VARIANT* out,
                                                                              EXCEPINFO*) { return give(found, out); });
        return give(_variant_t(static_cast<IDispatch*>(field.Get())), result);
    });
    const ComPtr<ScriptedObject> rs = scripted(L"Fields", [&](WORD, DISPPARAMS&, VARIANT* result, EXCEPINFO*) {
        return give(_variant_t(static_cast<IDispatch*>(fields.Get())), result);
    });
    conflict_.loadFromRs(ado::Recordset(com::Dispatch(rs.Get())));
    EXPECT_EQ(conflict_.sTable, L"shortcut");
    EXPECT_EQ(conflict_.iConflictType, 4);
    EXPECT_EQ(conflict_.dDestination, kNoon - 1);
}

TEST_F(ConflictLoad, NothingOrAnObjectThatIsNoRecordsetRaises)
{
    EXPECT_EQ(raised([&] { conflict_.loadFromRs(ado::Recordset()); }),
              (Error{91, L"clsConflict.loadFromRs", L"Object variable or With block variable not set"}));
    EXPECT_EQ(conflict_.bExists(), L"True");
    const ComPtr<ScriptedObject> stranger = com::makeObject<ScriptedObject>();
    EXPECT_EQ(raised([&] { conflict_.loadFromRs(ado::Recordset(com::Dispatch(stranger.Get()))); }),
              (Error{438, L"clsConflict.loadFromRs", L"Object doesn't support this property or method"}));
}

} // namespace
