#include "conflicts/clsConflict.h"

#include "com/convert.h"
#include "conflicts/Collection.h"
#include "conflicts/ConflictDataFace.h"
#include "control/settings.h"
#include "support/ScriptedObject.h"
#include "support/recording_error.h"
#include "support/recording_fixture.h"

using namespace quinmark;

namespace {

using com::Error;
using Lines = std::vector<std::wstring>;
using Microsoft::WRL::ComPtr;
using Statements = std::vector<AdoStatement>;

constexpr wchar_t kNoTable[] = L"Table name not supplied\r\n";
constexpr wchar_t kNoKey[] = L"Patiend id or table guid not supplied\r\n"; // spelled so
constexpr wchar_t kNoKind[] = L"Conflict type not supplied\r\n";

class ConflictTest : public RecordingTest
{
protected:
    ConflictTest()
    {
        connectedSettings({.site = LAPTOP, .role = L"DESTINATION"});
        ado().answer(L"InsertReplicationConflict", {{}, 0, {{0, L"{C1}"}}});
        conflict_.vGuid = L"{K1}";
        conflict_.iConflictType = CHANGED_ON_BOTH;
        conflict_.sTable = L"shortcut";
        conflict_.sKeyInfo = L"Item K1";
        conflict_.dSource = kNoon;
        conflict_.dDestination = kNoon - 1;
        conflict_.dNextReplicate = kNoon + 1;
        setData({});
    }

    static _variant_t item(const clsConflictData& data)
    {
        const ComPtr<_clsConflictData> face(com::makeObject<ConflictDataFace>(data));
        return _variant_t(static_cast<IDispatch*>(face.Get()));
    }

    void setData(const std::vector<_variant_t>& items)
    {
        const ComPtr<quinmark::Collection> collection = com::makeObject<quinmark::Collection>();
        for (const _variant_t& one : items)
            collection->add(one);
        conflict_.colData = ComPtr<_Collection>(collection);
    }

    std::wstring reasons()
    {
        EXPECT_FALSE(conflict_.edit());
        return conflict_.sErrorMessage();
    }

    /// Name, type, direction, size and value of every parameter, in their order.
    Lines boundParameters()
    {
        Lines parameters;
        for (const std::wstring& call : ado().calls())
            if (const size_t at = call.find(L".CreateParameter("); at != std::wstring::npos)
                parameters.push_back(call.substr(call.find(L'(', at)));
        return parameters;
    }

    static AdoStatement onLocal(const std::wstring& text) { return {L"destination", text}; }

    Error saveError()
    {
        const Error error = raised([&] { conflict_.save(); });
        EXPECT_EQ(error.source, L"clsConflict.save");
        return error;
    }

    const AdoStatement header_ =
        onLocal(L"InsertReplicationConflict(Null, 1, #11/16/2026 12:00:00 PM#, \"shortcut\", 0, \"{K1}\", 1, "
                L"\"Item K1\", #11/15/2026 12:00:00 PM#, #11/14/2026 12:00:00 PM#)");
    clsConflict conflict_;
};

TEST_F(ConflictTest, NewConflictIsEmpty)
{
    const clsConflict conflict;
    EXPECT_EQ(conflict.vConflictId().vt, VT_EMPTY);
    EXPECT_EQ(conflict.vGuid.vt, VT_EMPTY);
    EXPECT_EQ(conflict.colData, nullptr);
    for (const double number : {conflict.lPatientId * 1.0, conflict.iConflictType * 1.0, conflict.iResolutionType * 1.0,
                                conflict.dSource, conflict.dDestination, conflict.dNextReplicate})
        EXPECT_EQ(number, 0);
    for (const std::wstring& text : {conflict.sKeyInfo, conflict.sTable, conflict.sErrorMessage()})
        EXPECT_EQ(text, L"");
    EXPECT_EQ(conflict.bExists(), L"False");
}

TEST_F(ConflictTest, ReasonsOfAllThatIsMissingAreJoined)
{
    conflict_ = clsConflict();
    EXPECT_EQ(reasons(), std::wstring(kNoTable) + kNoKey + kNoKind);
    conflict_.dNextReplicate = 2;
    EXPECT_EQ(reasons(), std::wstring(L"Next replicate date not supplied.\r\n") + kNoTable + kNoKey + kNoKind);
    EXPECT_EQ(ado().statements(), Statements());
}

TEST_F(ConflictTest, OnlyTheFirstOfJanuary1900IsNoDate)
{
    for (const DATE date : {0.0, 1.0, 2.5, 3.0, -2.0}) {
        conflict_.dNextReplicate = date;
        EXPECT_TRUE(conflict_.edit()) << date;
    }
}

TEST_F(ConflictTest, TableOfBlanksIsMissing)
{
    conflict_.sTable = L"   ";
    EXPECT_EQ(reasons(), kNoTable);
}

TEST_F(ConflictTest, GuidMustHoldSomethingWithoutAPatientId)
{
    for (const _variant_t& guid : {_variant_t(), _variant_t(L""), _variant_t(L"  ")}) {
        conflict_.vGuid = guid;
        for (const long patient : {0L, -1L}) {
            conflict_.lPatientId = patient;
            EXPECT_EQ(reasons(), kNoKey);
        }
        conflict_.lPatientId = 1;
        EXPECT_TRUE(conflict_.edit());
    }
    conflict_.vGuid = adoNull();
    EXPECT_TRUE(conflict_.edit()) << "whatever the guid";
    conflict_.lPatientId = 0;
    EXPECT_EQ(raised([&] { conflict_.edit(); }), (Error{94, L"clsConflict.edit", L"Invalid use of Null"}));
    EXPECT_EQ(saveError().number, 94);
    conflict_.vGuid = 5L;
    EXPECT_TRUE(conflict_.edit());
}

TEST_F(ConflictTest, AnyKindButZeroPasses)
{
    conflict_.iConflictType = 0;
    EXPECT_EQ(reasons(), kNoKind);
    for (const long kind : {1L, 5L, 6L, -1L}) {
        conflict_.iConflictType = kind;
        EXPECT_TRUE(conflict_.edit());
    }
    EXPECT_EQ(conflict_.sErrorMessage(), kNoKind) << "stays from before";
}

TEST_F(ConflictTest, InvalidConflictIsNotSaved)
{
    conflict_.sTable.clear();
    const _variant_t refused = conflict_.save();
    EXPECT_EQ(refused.vt, VT_I2);
    EXPECT_EQ(refused, _variant_t(static_cast<short>(-1)));
    EXPECT_EQ(conflict_.sErrorMessage(), kNoTable);
    EXPECT_EQ(conflict_.bExists(), L"False");
    EXPECT_EQ(ado().callsAndReads(), Lines());
}

TEST_F(ConflictTest, SavedConflictHasItsIdAndExists)
{
    EXPECT_EQ(conflict_.save(), _variant_t(L"{C1}"));
    EXPECT_EQ(conflict_.vConflictId(), _variant_t(L"{C1}"));
    EXPECT_EQ(conflict_.bExists(), L"True");
    EXPECT_EQ(ado().statements(), Statements{header_});
    EXPECT_EQ(
        boundParameters(),
        (Lines{L"(\"0\", 72, 2, 0, Null)", L"(\"1\", 2, 1, 0, 1)", L"(\"2\", 135, 1, 0, #11/16/2026 12:00:00 PM#)",
               L"(\"3\", 200, 1, 50, \"shortcut\")", L"(\"4\", 3, 1, 0, 0)", L"(\"5\", 72, 1, 0, \"{K1}\")",
               L"(\"6\", 2, 1, 0, 1)", L"(\"7\", 200, 1, 125, \"Item K1\")",
               L"(\"8\", 135, 1, 0, #11/15/2026 12:00:00 PM#)", L"(\"9\", 135, 1, 0, #11/14/2026 12:00:00 PM#)"}));
}

TEST_F(ConflictTest, UnsetDatesAndGuidAreSentAsNull)
{
    conflict_ = clsConflict();
    conflict_.lPatientId = 7;
    conflict_.iConflictType = NEW_ON_DEST;
    conflict_.sTable = L"patient";
    setData({});
    conflict_.save();
    EXPECT_EQ(
        ado().statements(),
        Statements{onLocal(L"InsertReplicationConflict(Null, 1, Null, \"patient\", 7, Null, 3, Null, Null, Null)")});
}

TEST_F(ConflictTest, EveryDifferenceIsInsertedWithFourTypedParameters)
{
    setData({item({L"item_name", L"S", L"D"}), item({L"note", L"", L"O'D"})});
    conflict_.save();
    EXPECT_EQ(ado().statements(),
              (Statements{header_, onLocal(L"InsertReplicationConflictData(\"{C1}\", \"item_name\", \"S\", \"D\")"),
                          onLocal(L"InsertReplicationConflictData(\"{C1}\", \"note\", Null, \"O'D\")")}));
    const Lines parameters = boundParameters();
    ASSERT_EQ(parameters.size(), 18U);
    EXPECT_EQ(Lines(parameters.begin() + 10, parameters.begin() + 14),
              (Lines{L"(\"0\", 72, 1, 0, \"{C1}\")", L"(\"1\", 200, 1, 50, \"item_name\")",
                     L"(\"2\", 200, 1, 3500, \"S\")", L"(\"3\", 200, 1, 3500, \"D\")"}));
}

TEST_F(ConflictTest, ExistingConflictIsValidatedAndNotSavedAgain)
{
    conflict_.save();
    ado().forget();
    EXPECT_EQ(saveError(),
              (Error{kOwnErrorRaised, L"clsConflict.save", L"Method to update conflicts not implemented"}));
    conflict_.iConflictType = 0;
    EXPECT_EQ(conflict_.save(), _variant_t(static_cast<short>(-1)));
    EXPECT_EQ(ado().statements(), Statements());
}

TEST_F(ConflictTest, DataThatCannotBeReadRaisesAfterTheHeaderWasInserted)
{
    conflict_.colData.Reset();
    EXPECT_EQ(saveError().number, 91);
    conflict_.colData = com::makeObject<ScriptedObject>();
    EXPECT_EQ(saveError().number, 438) << "it does not enumerate";
    EXPECT_EQ(ado().statements(), (Statements{header_, header_}));
    const ComPtr<ScriptedObject> stranger = com::makeObject<ScriptedObject>();
    for (const _variant_t& one : {_variant_t(5L), _variant_t(L"text"), _variant_t(stranger.Get())}) {
        setData({item({L"a", L"1", L"2"}), one});
        ado().forget();
        EXPECT_EQ(saveError().number, 13);
        EXPECT_EQ(ado().statements().size(), 2U);
    }
    EXPECT_EQ(conflict_.bExists(), L"False");
}

TEST_F(ConflictTest, AnythingThatEnumeratesServesAsData)
{
    const ComPtr<quinmark::Collection> inner = com::makeObject<quinmark::Collection>();
    inner->add(item({L"a", L"1", L"2"}));
    const ComPtr<ScriptedObject> foreign = com::makeObject<ScriptedObject>();
    foreign->answers[DISPID_NEWENUM] = [&](WORD, DISPPARAMS&, VARIANT* result, EXCEPINFO*) {
        result->vt = VT_UNKNOWN;
        return inner->get__NewEnum(&result->punkVal);
    };
    conflict_.colData = foreign;
    EXPECT_EQ(conflict_.save(), _variant_t(L"{C1}"));
    EXPECT_EQ(ado().statements(),
              (Statements{header_, onLocal(L"InsertReplicationConflictData(\"{C1}\", \"a\", \"1\", \"2\")")}));
}

TEST_F(ConflictTest, FailedHeaderLeavesTheConflictNew)
{
    ado().failStatement(L"InsertReplicationConflict", connectionLost());
    EXPECT_EQ(saveError().description, L"Connection lost");
    ado().answerOn(L"destination", L"InsertReplicationConflict", {{}, 0, {{0, adoNull()}}});
    EXPECT_EQ(saveError().number, 94) << "a procedure without an id";
    EXPECT_EQ(conflict_.bExists(), L"False");
    EXPECT_EQ(conflict_.vConflictId().vt, VT_EMPTY);
}

TEST_F(ConflictTest, SaveAfterFailedDataInsertsTheHeaderAgain)
{
    setData({item({L"a", L"1", L"2"}), item({L"b", L"1", L"2"}), item({L"c", L"1", L"2"})});
    ado().failStatement(L"InsertReplicationConflictData", connectionLost(), 2);
    EXPECT_EQ(saveError().number, E_FAIL);
    EXPECT_EQ(ado().statements().size(), 3U);
    EXPECT_EQ(conflict_.bExists(), L"False");
    conflict_.save();
    EXPECT_EQ(ado().statements().size(), 7U);
    EXPECT_EQ(ado().statements()[3], header_);
    EXPECT_EQ(conflict_.bExists(), L"True");
}

} // namespace
