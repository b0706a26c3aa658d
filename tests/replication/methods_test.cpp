#include "support/MessageBoxes.h"
#include "support/PracticePair.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// The offices and the laptop, each with the role that is theirs.
const char* const kSites[] = {"Offices", "Laptop"};

TablePlan usersBy(enumReplicationMethod method)
{
    return {.method = method, .table = L"users"};
}

TablePlan usersByKey(enumReplicateDeletes deletes, const std::wstring& keyField = L"unid")
{
    return {.method = ONE_WAY_WITH_PK_FIELD, .table = L"users", .keyField = keyField, .deletes = deletes};
}

/// A run of one method at one site over a row of every kind, and its result. Rows are "key name", with the name x where
/// both sides agree, s as the source has it, d as the destination has it. Conflicts are "key:type".
struct MethodAtSite
{
    const char* name;
    enumReplicationUniqueId site;
    TablePlan plan;
    const wchar_t* source;
    const wchar_t* destination;
    TableCounters counters;
    const wchar_t* conflicts;
    std::vector<std::wstring> boxes;
};

void PrintTo(const MethodAtSite& method, std::ostream* stream)
{
    *stream << method.name << kSites[method.site];
}

constexpr wchar_t kAsItWas[] = L"1x 2s 3s 4s 5s 7s";
constexpr wchar_t kBroughtTogether[] = L"1x 2s 3d 4d 5s 6d 7s 8d";
constexpr TableCounters kOfficesCopy{.destAdd = 1, .destUpdate = 1, .conflict = 5, .error = 5};
constexpr TableCounters kOfficesDelete{.destAdd = 1, .destUpdate = 1, .destDelete = 1, .conflict = 4, .error = 4};
constexpr TableCounters kLaptopCopy{.destAdd = 1, .destUpdate = 1, .conflict = 2, .error = 1};
const std::vector<std::wstring> kDeletionBoxes = {L"replication conflict", L"TODO: delete from Nrv",
                                                  L"TODO: delete from ZT"};
const std::vector<std::wstring> kNewRowBoxes = {
    L"replication conflict", L"replication conflict - new row on Nrv users table before last Replicate date",
    L"replication conflict - new row on ZT users table before last Replicate date"};

const std::vector<MethodAtSite> kMethods = {
    {"FullCopy", OFFICES, usersBy(ONE_WAY_DELETE_ALL), kAsItWas, kAsItWas, {.destAdd = 6}, L"", {}},
    {"FullCopy", LAPTOP, usersBy(ONE_WAY_DELETE_ALL), kAsItWas, kAsItWas, {.destAdd = 6}, L"", {}},
    {"OneWay", OFFICES, usersBy(ONE_WAY), kAsItWas, L"1x 2s 3d 4d 5s 6d 8d", kOfficesCopy, L"3:4 4:1 6:3 7:2 8:3", {}},
    {"OneWay", LAPTOP, usersBy(ONE_WAY), kAsItWas, L"1x 2s 3d 4d 5s 6d 8d", kLaptopCopy, L"4:1 8:5", {}},
    {"AllowDeletes",
     OFFICES,
     usersBy(ONE_WAY_ALLOW_DELETES),
     kAsItWas,
     L"1x 2s 3d 4d 5s 6d",
     kOfficesDelete,
     L"3:4 4:1 6:3 7:2",
     {}},
    {"AllowDeletes",
     LAPTOP,
     usersBy(ONE_WAY_ALLOW_DELETES),
     kAsItWas,
     L"1x 2s 3d 4d 5s 6d 8d",
     kLaptopCopy,
     L"4:1 8:5",
     {}},
    {"KeyField",
     OFFICES,
     usersByKey(DELETE_WITH_UPDATES),
     kAsItWas,
     L"1x 2s 3d 4d 5s 6d",
     kOfficesDelete,
     L"3:4 4:1 6:3 7:2",
     {}},
    {"KeyField",
     LAPTOP,
     usersByKey(DELETE_WITH_UPDATES),
     kAsItWas,
     L"1x 2s 3d 4d 5s 6d 8d",
     kLaptopCopy,
     L"4:1 8:5",
     {}},
    {"SkipDeletes",
     OFFICES,
     usersByKey(SKIP_DELETES),
     kAsItWas,
     L"1x 2s 3d 4d 5s 6d 8d",
     {.destAdd = 1, .destUpdate = 1, .conflict = 3, .error = 3},
     L"3:4 4:1 7:2",
     {}},
    {"SkipDeletes",
     LAPTOP,
     usersByKey(SKIP_DELETES),
     kAsItWas,
     L"1x 2s 3d 4d 5s 6d 8d",
     {.destAdd = 1, .destUpdate = 1, .conflict = 1},
     L"4:1",
     {}},
    {"OnlyDeletes",
     OFFICES,
     usersByKey(ONLY_DELETES),
     kAsItWas,
     L"1x 2d 3d 4d 6d",
     {.destDelete = 1, .conflict = 1, .error = 1},
     L"6:3",
     {}},
    {"OnlyDeletes",
     LAPTOP,
     usersByKey(ONLY_DELETES),
     kAsItWas,
     L"1x 2d 3d 4d 6d 8d",
     {.conflict = 1, .error = 1},
     L"8:5",
     {}},
    {"TwoWay", OFFICES, usersBy(TWO_WAY), kBroughtTogether, kBroughtTogether, {}, L"", kDeletionBoxes},
    {"TwoWay", LAPTOP, usersBy(TWO_WAY), kBroughtTogether, kBroughtTogether, {}, L"", kDeletionBoxes},
    {"NoDeletes", OFFICES, usersBy(TWO_WAY_NO_DELETES), kBroughtTogether, kBroughtTogether, {}, L"", kNewRowBoxes},
    {"NoDeletes", LAPTOP, usersBy(TWO_WAY_NO_DELETES), kBroughtTogether, kBroughtTogether, {}, L"", kNewRowBoxes},
};

std::wstring joined(const std::vector<std::wstring>& rows)
{
    std::wstring text;
    for (const std::wstring& row : rows)
        text += (text.empty() ? L"" : L" ") + row;
    std::erase(text, L'|');
    return text;
}

class Methods : public NeedsDisplay<PracticePair>
{
protected:
    void addToBoth(int key, const wchar_t* sourceDate, const wchar_t* destinationDate)
    {
        addUser(source(), key, L"s", sourceDate);
        addUser(destination(), key, L"d", destinationDate);
    }

    /// Alike, changed in the source, in the destination, on both sides, new in either, old in either only.
    void addARowOfEveryKind()
    {
        addUser(source(), 1, L"x", kOlder);
        addUser(destination(), 1, L"x", kOlder);
        addToBoth(2, kNew, kOld);
        addToBoth(3, kOld, kNew);
        addToBoth(4, kNew, kNewer);
        addUser(source(), 5, L"s", kNew);
        addUser(destination(), 6, L"d", kNew);
        addUser(source(), 7, L"s", kOld);
        addUser(destination(), 8, L"d", kOld);
    }
};

class MethodsAtSites : public Methods, public testing::WithParamInterface<MethodAtSite>
{
};

INSTANTIATE_TEST_SUITE_P(All, MethodsAtSites, testing::ValuesIn(kMethods),
                         [](const auto& info) { return std::string(info.param.name) + kSites[info.param.site]; });

TEST_P(MethodsAtSites, TakeARowOfEveryKindToWhereItBelongs)
{
    const MethodAtSite& expected = GetParam();
    runAt(expected.site);
    addARowOfEveryKind();
    const MessageBoxes boxes;
    EXPECT_EQ(replicate(expected.plan), expected.counters);
    EXPECT_EQ(joined(users(source())), expected.source);
    EXPECT_EQ(joined(users(destination())), expected.destination);
    EXPECT_EQ(
        joined(local().rows(L"select concat(patient_id, ':', conflict_type) from replication_conflict order by 1")),
        expected.conflicts);
    EXPECT_EQ(recordedError() != L"none", expected.counters.error > 0) << recordedError();
    EXPECT_EQ(boxes.texts(), expected.boxes);
    EXPECT_TRUE(local().hasPatientKey());
}

TEST_F(Methods, LeaveRowsOfOneMomentAndRowsFromBeforeTheLastRun)
{
    for (const enumReplicationMethod method : {ONE_WAY, TWO_WAY}) {
        emptyTables();
        restoreControl();
        addToBoth(1, kNew, kNew);
        addToBoth(2, kOld, kOlder);
        addToBoth(3, L"2025-03-10T12:00:00.300", kLastRun);
        EXPECT_EQ(replicate(usersBy(method)), TableCounters{});
        EXPECT_EQ(joined(users(source())), L"1s 2s 3s");
        EXPECT_EQ(joined(users(destination())), L"1d 2d 3d");
    }
}

TEST_F(Methods, CopyFromTheTimeThatTheyTellApart)
{
    addToBoth(1, L"2025-03-10T12:00:02", L"2025-03-10T12:00:00");
    addToBoth(2, L"2025-03-10T12:00:02", L"2025-03-10T11:59:59");
    EXPECT_EQ(replicate(usersBy(ONE_WAY)), (TableCounters{.destUpdate = 1}));
    EXPECT_EQ(joined(users(destination())), L"1d 2s");
    restoreControl();
    addToBoth(3, kLastRun, L"2025-03-10T12:00:01");
    EXPECT_EQ(replicate(usersBy(TWO_WAY)), TableCounters{});
    EXPECT_EQ(joined(users(source())), L"1s 2s 3d");
    EXPECT_EQ(joined(users(destination())), L"1s 2s 3d");
}

TEST_F(Methods, MatchRowsByTheKeyField)
{
    addUser(source(), 1, L"changed", kNew);
    addUser(destination(), 11, L"changed", kOld);
    addUser(source(), 2, L"new", kNew);
    addUser(destination(), 13, L"gone", kOld);
    EXPECT_EQ(replicate(usersByKey(DELETE_WITH_UPDATES, L"user_name")),
              (TableCounters{.destAdd = 1, .destUpdate = 1, .destDelete = 1}));
    EXPECT_EQ(destination().rows(L"select * from users order by unid"),
              source().rows(L"select * from users order by unid"));
    EXPECT_THAT(counts(), ElementsAre(L"users adds=1", L"users conflicts=0", L"users deletes=1", L"users errors=0",
                                      L"users updates=1"));
}

TEST_F(Methods, CopyNothingWithoutAKeyFieldOrADeleteMethodAndRecordThat)
{
    addARowOfEveryKind();
    for (const auto& [plan, error] :
         {std::pair(usersByKey(DELETE_WITH_UPDATES, L""), L"error: PKField not set for replicateOneWayWithPKField()"),
          std::pair(usersByKey(UNKNOWN), L"error: enumReplicatDeletes not set for replicateOneWayWithPKField()")})
    {
        restoreControl();
        EXPECT_EQ(replicate(plan), TableCounters{});
        EXPECT_EQ(recordedError(), error);
        EXPECT_EQ(joined(users(destination())), L"1x 2d 3d 4d 6d 8d");
        EXPECT_THAT(counts(), IsEmpty());
    }
}

TEST_F(Methods, BothWaysCountNothing)
{
    addUser(source(), 7, L"of the source", kNew);
    EXPECT_EQ(replicate(usersBy(TWO_WAY)), TableCounters{});
    EXPECT_THAT(counts(), ElementsAre(L"users adds=0", L"users adds=0", L"users deletes=0", L"users deletes=0",
                                      L"users errors=0", L"users updates=0", L"users updates=0"));
    EXPECT_THAT(conflicts(), IsEmpty());
}

class CompanyByNumber : public PracticePair
{
protected:
    static void addCompany(const PracticeSide& side, const wchar_t* number, const wchar_t* modified)
    {
        side.execute(L"insert into dentist_company (dc_id, company_name, mod_date) values (" + std::wstring(number) +
                     L", 'company', '" + modified + L"')");
    }

    void addComment(const wchar_t* key, const std::wstring& company)
    {
        destination().execute(L"insert into chart_comment_info (unid, dc_id, comment_text) values ('" +
                              std::wstring(key) + L"', " + company + L", 'about " + company + L"')");
    }
};

TEST_F(CompanyByNumber, ThatIsDeletedLeavesItsComments)
{
    addCompany(source(), L"2", kOld);
    addCompany(destination(), L"2", kOld);
    addCompany(destination(), L"3", kOld);
    addCompany(source(), L"4", kNew);
    addComment(L"{0F8FAD5B-D9CB-469F-A165-70867728950E}", L"2");
    addComment(L"{7C9E6679-7425-40DE-944B-E07FC1F90AE7}", L"3");
    EXPECT_EQ(replicate({.method = ONE_WAY_WITH_PK_FIELD,
                         .table = L"Dentist_Company",
                         .keyField = L"dc_id",
                         .deletes = DELETE_WITH_UPDATES}),
              (TableCounters{.destAdd = 1, .destDelete = 1}));
    EXPECT_THAT(destination().rows(L"select dc_id, comment_text from chart_comment_info order by comment_text"),
                ElementsAre(L"2|about 2", L"<Null>|about 3"));
    EXPECT_THAT(destination().rows(L"select dc_id from dentist_company order by dc_id"), ElementsAre(L"2", L"4"));
}

} // namespace
