#include "conflicts/ConflictFace.h"

#include "conflicts/ConflictDataFace.h"
#include "control/Factory.h"
#include "support/LateCall.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

using Microsoft::WRL::ComPtr;

constexpr HRESULT kOverflowCode = static_cast<HRESULT>(0x800A0006);

_variant_t int16(short value)
{
    return value;
}

_variant_t date(DATE value)
{
    return _variant_t(value, VT_DATE);
}

class ConflictFaceTest : public RecordingTest
{
protected:
    ConflictFaceTest() { connectedSettings({LAPTOP, L"DESTINATION"}); }

    _variant_t get(const wchar_t* member) { return lateGet(face_.Get(), member).value; }
    HRESULT put(const wchar_t* member, const _variant_t& value) { return latePut(face_.Get(), member, value).code; }

    /// Loads a row of replication_conflict with that kind.
    HRESULT load(const _variant_t& kind)
    {
        const com::Dispatch rs = ado().recordset(adoRow({{L"unid", L"{C1}"},
                                                         {L"last_replicate_date", date(46342.5)},
                                                         {L"table_name", L"shortcut"},
                                                         {L"patient_id", 0L},
                                                         {L"guid", L"{K1}"},
                                                         {L"conflict_type", kind},
                                                         {L"key_info", L"Item"},
                                                         {L"source_mod_date", date(46341.5)},
                                                         {L"destination_mod_date", date(46341.75)}}));
        return lateCall(face_.Get(), L"loadFromRs", {_variant_t(rs.get())}).code;
    }

    const ComPtr<ConflictFace> face_ = com::makeObject<ConflictFace>(clsConflict());
};

struct Property
{
    const wchar_t* name;
    _variant_t put;
    _variant_t read;
};

TEST_F(ConflictFaceTest, PropertiesKeepWhatIsPutInTheirDeclaredForm)
{
    const Property properties[] = {
        {L"lPatientId", L"70000", 70000L},     {L"vGuid", L"{K1}", L"{K1}"},
        {L"iConflictType", 4L, int16(4)},      {L"sKeyInfo", 12L, L"12"},
        {L"dSource", 43895L, date(43895)},     {L"dDestination", date(1.5), date(1.5)},
        {L"iResolutionType", L"2", int16(2)},  {L"dNextReplicate", 2.25, date(2.25)},
        {L"sTable", L"shortcut", L"shortcut"},
    };
    for (const auto& [name, value, read] : properties)
        EXPECT_EQ(put(name, value), S_OK) << name;
    for (const auto& [name, value, read] : properties)
        EXPECT_EQ(get(name), read) << name;
    EXPECT_EQ(put(L"lPatientId", L"x"), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(put(L"iConflictType", 32768L), DISP_E_OVERFLOW);
    EXPECT_EQ(put(L"iResolutionType", 32768L), DISP_E_OVERFLOW);
    EXPECT_EQ(get(L"iResolutionType"), int16(2));
}

TEST_F(ConflictFaceTest, GuidMayBeOfAnyType)
{
    for (const _variant_t& guid : {_variant_t(), _variant_t(12L), adoNull(), _variant_t(L"")}) {
        EXPECT_EQ(put(L"vGuid", guid), S_OK);
        EXPECT_EQ(get(L"vGuid").vt, guid.vt);
    }
}

TEST_F(ConflictFaceTest, IdComesFromTheFactory)
{
    const ComPtr<ConflictFace> made = com::makeObject<ConflictFace>(Factory().createConflict(_variant_t(L"{C9}")));
    EXPECT_EQ(lateGet(made.Get(), L"vConflictId").value, _variant_t(L"{C9}"));
    EXPECT_EQ(lateGet(made.Get(), L"bExists").value, _variant_t(L"False"));
    EXPECT_EQ(lateGet(made.Get(), L"colData").value, _variant_t(static_cast<IDispatch*>(nullptr)));
    EXPECT_EQ(ado().callCount(), 0U);
}

TEST_F(ConflictFaceTest, KindBeyondSixteenBitsOverflowsWhenRead)
{
    EXPECT_EQ(load(32767L), S_OK);
    EXPECT_EQ(get(L"iConflictType"), int16(32767));
    for (const long kind : {32768L, -32769L}) {
        EXPECT_EQ(load(kind), S_OK);
        short read = 5;
        EXPECT_EQ(face_->get_iConflictType(&read), kOverflowCode);
        EXPECT_EQ(read, 0);
    }
}

TEST_F(ConflictFaceTest, RefusedSaveGivesTheSixteenBitMinusOne)
{
    EXPECT_EQ(lateCall(face_.Get(), L"edit").value, _variant_t(false));
    EXPECT_EQ(lateCall(face_.Get(), L"save").value, int16(-1));
    EXPECT_EQ(get(L"sErrorMessage"), _variant_t(L"Table name not supplied\r\nPatiend id or table guid not supplied\r\n"
                                                L"Conflict type not supplied\r\n"));
}

TEST_F(ConflictFaceTest, ResolutionSetByTheHostIsApplied)
{
    EXPECT_EQ(load(5L), S_OK);
    EXPECT_EQ(lateCall(face_.Get(), L"edit").value, _variant_t(true));
    EXPECT_EQ(lateCall(face_.Get(), L"resolve").value, _variant_t(false));
    EXPECT_EQ(get(L"sErrorMessage"), _variant_t(L"Invalid resolution type"));
    EXPECT_EQ(put(L"iResolutionType", int16(USE_SOURCE)), S_OK);
    EXPECT_EQ(lateCall(face_.Get(), L"resolve").value, _variant_t(true));
    EXPECT_EQ(get(L"bExists"), _variant_t(L"True"));
    EXPECT_EQ(get(L"vConflictId"), _variant_t(L"{C1}"));
}

TEST_F(ConflictFaceTest, LoadingFromNothingRaises91)
{
    IDispatch* nothing = nullptr;
    EXPECT_EQ(face_->loadFromRs(&nothing), static_cast<HRESULT>(0x800A005B));
}

TEST_F(ConflictFaceTest, DataItemKeepsItsThreeTexts)
{
    const ComPtr<ConflictDataFace> item = com::makeObject<ConflictDataFace>(clsConflictData{L"item_name", L"S", L"D"});
    const std::pair<const wchar_t*, const wchar_t*> texts[] = {
        {L"sField", L"item_name"}, {L"sSourceData", L"S"}, {L"sDestinationData", L"D"}};
    for (const auto& [member, text] : texts) {
        EXPECT_EQ(lateGet(item.Get(), member).value, _variant_t(text));
        EXPECT_EQ(latePut(item.Get(), member, 5L).code, S_OK);
        EXPECT_EQ(lateGet(item.Get(), member).value, _variant_t(L"5"));
    }
}

} // namespace
