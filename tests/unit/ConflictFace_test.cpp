#include "conflicts/ConflictFace.h"

#include "com/convert.h"
#include "conflicts/Collection.h"
#include "conflicts/ConflictDataFace.h"
#include "control/Factory.h"
#include "support/LateCall.h"
#include "support/ReplicationFixture.h"

using namespace quinmark;

namespace {

using Microsoft::WRL::ComPtr;

constexpr HRESULT kOverflowCode = static_cast<HRESULT>(0x800A0006);

class ConflictFaceTest : public ReplicationTest
{
protected:
    ConflictFaceTest() { connectAt(LAPTOP); }

    _variant_t get(const wchar_t* member) { return lateGet(face_.Get(), member).value; }
    HRESULT put(const wchar_t* member, const _variant_t& value) { return latePut(face_.Get(), member, value).code; }

    /// Loads a row of replication_conflict with that kind.
    HRESULT load(const _variant_t& kind)
    {
        const com::Dispatch rs = ado().recordset({{{L"unid", 72},
                                                   {L"last_replicate_date", 135},
                                                   {L"table_name", 200},
                                                   {L"patient_id", 3},
                                                   {L"guid", 72},
                                                   {L"conflict_type", 3},
                                                   {L"key_info", 200},
                                                   {L"source_mod_date", 135},
                                                   {L"destination_mod_date", 135}},
                                                  {{L"{C1}", _variant_t(kNext, VT_DATE), L"shortcut", 0L, L"{K1}", kind,
                                                    L"Item", _variant_t(at(0), VT_DATE), _variant_t(at(1), VT_DATE)}}});
        return lateCall(face_.Get(), L"loadFromRs", {_variant_t(rs.get())}).code;
    }

    const ComPtr<ConflictFace> face_ = com::makeObject<ConflictFace>(clsConflict());
};

TEST_F(ConflictFaceTest, PropertiesKeepWhatIsPut)
{
    EXPECT_EQ(put(L"lPatientId", 70000L), S_OK);
    EXPECT_EQ(put(L"vGuid", L"{K1}"), S_OK);
    EXPECT_EQ(put(L"iConflictType", static_cast<short>(3)), S_OK);
    EXPECT_EQ(put(L"sKeyInfo", L"Item"), S_OK);
    EXPECT_EQ(put(L"dSource", _variant_t(at(1), VT_DATE)), S_OK);
    EXPECT_EQ(put(L"dDestination", _variant_t(at(2), VT_DATE)), S_OK);
    EXPECT_EQ(put(L"iResolutionType", static_cast<short>(2)), S_OK);
    EXPECT_EQ(put(L"dNextReplicate", _variant_t(kNext, VT_DATE)), S_OK);
    EXPECT_EQ(put(L"sTable", L"shortcut"), S_OK);
    EXPECT_EQ(get(L"lPatientId"), _variant_t(70000L));
    EXPECT_EQ(get(L"vGuid"), _variant_t(L"{K1}"));
    EXPECT_EQ(get(L"iConflictType"), _variant_t(static_cast<short>(3)));
    EXPECT_EQ(get(L"sKeyInfo"), _variant_t(L"Item"));
    EXPECT_EQ(get(L"dSource"), _variant_t(at(1), VT_DATE));
    EXPECT_EQ(get(L"dDestination"), _variant_t(at(2), VT_DATE));
    EXPECT_EQ(get(L"iResolutionType"), _variant_t(static_cast<short>(2)));
    EXPECT_EQ(get(L"dNextReplicate"), _variant_t(kNext, VT_DATE));
    EXPECT_EQ(get(L"sTable"), _variant_t(L"shortcut"));
}

TEST_F(ConflictFaceTest, IdExistenceAndMessageCannotBeSet)
{
    for (const wchar_t* member : {L"vConflictId", L"bExists", L"sErrorMessage"})
        EXPECT_EQ(put(member, L"x"), DISP_E_MEMBERNOTFOUND) << member;
    EXPECT_EQ(get(L"vConflictId").vt, VT_EMPTY);
    EXPECT_EQ(get(L"sErrorMessage"), _variant_t(L""));
}

TEST_F(ConflictFaceTest, IdComesFromTheFactory)
{
    const ComPtr<ConflictFace> made = com::makeObject<ConflictFace>(Factory().createConflict(_variant_t(L"{C9}")));
    EXPECT_EQ(lateGet(made.Get(), L"vConflictId").value, _variant_t(L"{C9}"));
    EXPECT_EQ(lateGet(made.Get(), L"bExists").value, _variant_t(L"False"));
    EXPECT_EQ(ado().callsAndReads(), Lines());
}

TEST_F(ConflictFaceTest, ExistenceIsAText)
{
    EXPECT_EQ(get(L"bExists").vt, VT_BSTR);
    EXPECT_EQ(get(L"bExists"), _variant_t(L"False"));
    EXPECT_EQ(load(1L), S_OK);
    EXPECT_EQ(get(L"bExists"), _variant_t(L"True"));
}

TEST_F(ConflictFaceTest, KindBeyondSixteenBitsOverflowsWhenRead)
{
    EXPECT_EQ(load(32767L), S_OK);
    EXPECT_EQ(get(L"iConflictType"), _variant_t(static_cast<short>(32767)));
    EXPECT_EQ(load(32768L), S_OK);
    short kind = 5;
    EXPECT_EQ(face_->get_iConflictType(&kind), kOverflowCode);
    EXPECT_EQ(kind, 0);
    const LateResult read = lateGet(face_.Get(), L"iConflictType");
    EXPECT_EQ(read.code, DISP_E_EXCEPTION);
    EXPECT_EQ(read.scode, kOverflowCode);
    EXPECT_EQ(read.description, L"Overflow");
    EXPECT_EQ(load(-32769L), S_OK);
    EXPECT_EQ(face_->get_iConflictType(&kind), kOverflowCode);
}

TEST_F(ConflictFaceTest, NumbersBeyondSixteenBitsCannotBePut)
{
    for (const wchar_t* member : {L"iConflictType", L"iResolutionType"}) {
        EXPECT_NE(put(member, 32768L), S_OK) << member;
        EXPECT_EQ(get(member), _variant_t(static_cast<short>(0))) << member;
    }
}

TEST_F(ConflictFaceTest, DataIsNothingUntilItIsSetByReference)
{
    EXPECT_EQ(get(L"colData").vt, VT_DISPATCH);
    EXPECT_EQ(get(L"colData").pdispVal, nullptr);
    const ComPtr<quinmark::Collection> data = com::makeObject<quinmark::Collection>();
    const _variant_t object(static_cast<IDispatch*>(data.Get()));
    EXPECT_EQ(latePut(face_.Get(), L"colData", object, DISPATCH_PROPERTYPUTREF).code, S_OK);
    EXPECT_EQ(get(L"colData").pdispVal, object.pdispVal);
}

TEST_F(ConflictFaceTest, GuidMayBeOfAnyType)
{
    for (const _variant_t& guid : {_variant_t(), _variant_t(12L), adoNull(), _variant_t(L"")}) {
        EXPECT_EQ(put(L"vGuid", guid), S_OK);
        EXPECT_EQ(get(L"vGuid").vt, guid.vt);
    }
}

TEST_F(ConflictFaceTest, RefusedSaveGivesTheSixteenBitMinusOne)
{
    EXPECT_EQ(lateCall(face_.Get(), L"edit").value, _variant_t(false));
    const LateResult saved = lateCall(face_.Get(), L"save");
    EXPECT_EQ(saved.code, S_OK);
    EXPECT_EQ(saved.value.vt, VT_I2);
    EXPECT_EQ(saved.value, _variant_t(static_cast<short>(-1)));
    EXPECT_EQ(get(L"sErrorMessage"), _variant_t(L"Table name not supplied\r\nPatiend id or table guid not supplied\r\n"
                                                L"Conflict type not supplied\r\n"));
}

TEST_F(ConflictFaceTest, SecondSaveIsRaisedWithNumberSourceAndText)
{
    EXPECT_EQ(load(1L), S_OK);
    const LateResult saved = lateCall(face_.Get(), L"save");
    EXPECT_EQ(saved.code, DISP_E_EXCEPTION);
    EXPECT_EQ(saved.scode, kOwnErrorRaised);
    EXPECT_EQ(saved.source, L"clsConflict.save");
    EXPECT_EQ(saved.description, L"Method to update conflicts not implemented");
}

TEST_F(ConflictFaceTest, ResolutionSetByTheHostIsApplied)
{
    EXPECT_EQ(load(5L), S_OK);
    EXPECT_EQ(lateCall(face_.Get(), L"resolve").value, _variant_t(false));
    EXPECT_EQ(get(L"sErrorMessage"), _variant_t(L"Invalid resolution type"));
    EXPECT_EQ(put(L"iResolutionType", static_cast<short>(USE_SOURCE)), S_OK);
    EXPECT_EQ(lateCall(face_.Get(), L"resolve").value, _variant_t(true));
    EXPECT_EQ(ado().statements(), onDestination({L"Delete from shortcut where unid = '{K1}'",
                                                 L"Delete from replication_conflict where unid = '{C1}';Delete from "
                                                 L"replication_conflict_data where conflict_id = '{C1}'"}));
    EXPECT_EQ(get(L"bExists"), _variant_t(L"True"));
    EXPECT_EQ(get(L"vConflictId"), _variant_t(L"{C1}"));
}

TEST_F(ConflictFaceTest, LoadingFromNothingRaises91)
{
    IDispatch* nothing = nullptr;
    EXPECT_EQ(face_->loadFromRs(&nothing), static_cast<HRESULT>(0x800A005B));
    EXPECT_EQ(face_->loadFromRs(nullptr), E_POINTER);
}

TEST_F(ConflictFaceTest, DataItemKeepsItsThreeTexts)
{
    const ComPtr<ConflictDataFace> item = com::makeObject<ConflictDataFace>(clsConflictData{L"item_name", L"S", L"D"});
    EXPECT_EQ(lateGet(item.Get(), L"sField").value, _variant_t(L"item_name"));
    EXPECT_EQ(lateGet(item.Get(), L"sSourceData").value, _variant_t(L"S"));
    EXPECT_EQ(lateGet(item.Get(), L"sDestinationData").value, _variant_t(L"D"));
    for (const wchar_t* member : {L"sField", L"sSourceData", L"sDestinationData"}) {
        EXPECT_EQ(latePut(item.Get(), member, 5L).code, S_OK);
        EXPECT_EQ(lateGet(item.Get(), member).value, _variant_t(L"5"));
    }
}

} // namespace
