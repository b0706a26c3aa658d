#include "support/MessageBoxes.h"
#include "support/PracticePair.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

TablePlan usersBy(enumReplicationMethod method)
{
    return {.method = method, .table = L"users"};
}

TablePlan usersByKey(enumReplicateDeletes deletes, const std::wstring& keyField = L"unid")
{
    return {.method = ONE_WAY_WITH_PK_FIELD, .table = L"users", .keyField = keyField, .deletes = deletes};
}

/// The end of a run over a row of every kind: the destination's rows, the table's counters, and the conflicts. Rows are
/// "key name", with the name x where both sides agree, s as the source has it, d as the destination has it. Conflicts
/// are "key:type".
struct Outcome
{
    const wchar_t* destination;
    TableCounters counters;
    const wchar_t* conflicts;
};

constexpr wchar_t kAsItWas[] = L"1x 2s 3s 4s 5s 7s";
constexpr wchar_t kBothTogether[] = L"1x 2s 3d 4d 5s 6d 7s 8d";
constexpr wchar_t kCopied[] = L"1x 2s 3d 4d 5s 6d 8d";
constexpr wchar_t kCopiedAndDeleted[] = L"1x 2s 3d 4d 5s 6d";

constexpr Outcome kReplaced{kAsItWas, {.destAdd = 6}, L""};
constexpr Outcome kTogether{kBothTogether, {}, L""};
constexpr Outcome kOfficesCopy{
    kCopied, {.destAdd = 1, .destUpdate = 1, .conflict = 5, .error = 5}, L"3:4 4:1 6:3 7:2 8:3"};
constexpr Outcome kOfficesDelete{
    kCopiedAndDeleted, {.destAdd = 1, .destUpdate = 1, .destDelete = 1, .conflict = 4, .error = 4}, L"3:4 4:1 6:3 7:2"};
constexpr Outcome kLaptopCopy{kCopied, {.destAdd = 1, .destUpdate = 1, .conflict = 2, .error = 1}, L"4:1 8:5"};
constexpr Outcome kOfficesSkip{kCopied, {.destAdd = 1, .destUpdate = 1, .conflict = 3, .error = 3}, L"3:4 4:1 7:2"};
constexpr Outcome kLaptopSkip{kCopied, {.destAdd = 1, .destUpdate = 1, .conflict = 1}, L"4:1"};
constexpr Outcome kOfficesOnly{L"1x 2d 3d 4d 6d", {.destDelete = 1, .conflict = 1, .error = 1}, L"6:3"};
constexpr Outcome kLaptopOnly{L"1x 2d 3d 4d 6d 8d", {.conflict = 1, .error = 1}, L"8:5"};

struct Method
{
    const char* name;
    TablePlan plan;
    Outcome atOffices;
    Outcome atLaptop;
    const wchar_t* source = kAsItWas;
    std::vector<std::wstring> boxes = {};
};

const Method kMethods[] = {
    {"FullCopy", usersBy(ONE_WAY_DELETE_ALL), kReplaced, kReplaced},
    {"OneWay", usersBy(ONE_WAY), kOfficesCopy, kLaptopCopy},
    {"AllowDeletes", usersBy(ONE_WAY_ALLOW_DELETES), kOfficesDelete, kLaptopCopy},
    {"KeyField", usersByKey(DELETE_WITH_UPDATES), kOfficesDelete, kLaptopCopy},
    {"SkipDeletes", usersByKey(SKIP_DELETES), kOfficesSkip, kLaptopSkip},
    {"OnlyDeletes", usersByKey(ONLY_DELETES), kOfficesOnly, kLaptopOnly},
    {"TwoWay",
     usersBy(TWO_WAY),
     kTogether,
     kTogether,
     kBothTogether,
     {L"replication conflict", L"TODO: delete from Nrv", L"TODO: delete from ZT"}},
    {"NoDeletes",
     usersBy(TWO_WAY_NO_DELETES),
     kTogether,
     kTogether,
     kBothTogether,
     {L"replication conflict", L"replication conflict - new row on Nrv users table before last Replicate date",
      L"replication conflict - new row on ZT users table before last Replicate date"}},
};

std::wstring joined(const std::vector<std::wstring>& rows)
{
    std::wstring text;
    for (const std::wstring& row : rows)
        text += (text.empty() ? L"" : L" ") + row;
    std::erase(text, L'|');
    return text;
}

class Methods : public NeedsDisplay<PracticePair>,
                public testing::WithParamInterface<std::tuple<Method, enumReplicationUniqueId>>
{
protected:
    /// Alike, changed in the source, in the destination, on both sides, new in either, old in either only.
    void addARowOfEveryKind()
    {
        struct
        {
            const PracticeSide& side;
            const wchar_t* name;
            std::vector<std::pair<int, const wchar_t*>> dates;
        } const kSides[] = {
            {source(), L"s", {{2, kNew}, {3, kOld}, {4, kNew}, {5, kNew}, {7, kOld}}},
            {destination(), L"d", {{2, kOld}, {3, kNew}, {4, kNewer}, {6, kNew}, {8, kOld}}},
        };
        for (const auto& [side, name, dates] : kSides) {
            addUser(side, 1, L"x", kOlder);
            for (const auto& [key, date] : dates)
                addUser(side, key, name, date);
        }
    }
};

INSTANTIATE_TEST_SUITE_P(, Methods, testing::Combine(testing::ValuesIn(kMethods), testing::Values(OFFICES, LAPTOP)),
                         [](const auto& info) {
                             return std::get<0>(info.param).name +
                                    std::string(std::get<1>(info.param) == OFFICES ? "AtOffices" : "AtLaptop");
                         });

TEST_P(Methods, TakeARowOfEveryKindToWhereItBelongs)
{
    const auto& [method, site] = GetParam();
    const Outcome& expected = site == OFFICES ? method.atOffices : method.atLaptop;
    runAt(site);
    addARowOfEveryKind();
    const MessageBoxes boxes;
    EXPECT_EQ(replicate(method.plan), expected.counters);
    EXPECT_EQ(joined(users(source())), method.source);
    EXPECT_EQ(joined(users(destination())), expected.destination);
    EXPECT_EQ(
        joined(local().rows(L"select concat(patient_id, ':', conflict_type) from replication_conflict order by 1")),
        expected.conflicts);
    EXPECT_EQ(recordedError() != L"none", expected.counters.error > 0) << recordedError();
    EXPECT_EQ(boxes.texts(), method.boxes);
    EXPECT_TRUE(local().hasPatientKey());
}

using MethodByKey = PracticePair;

TEST_F(MethodByKey, MatchesRowsByTheKeyField)
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

TEST_F(MethodByKey, LeavesTheCommentsOfADeletedCompany)
{
    source().execute(L"insert into dentist_company (dc_id, company_name, mod_date) values "
                     L"(2, 'kept', '2025-03-01'), (4, 'new', '2025-03-11')");
    destination().execute(L"insert into dentist_company (dc_id, company_name, mod_date) values "
                          L"(2, 'kept', '2025-03-01'), (3, 'gone', '2025-03-01');"
                          L"insert into chart_comment_info (unid, dc_id, comment_text) values "
                          L"('{0F8FAD5B-D9CB-469F-A165-70867728950E}', 2, 'about 2'), "
                          L"('{7C9E6679-7425-40DE-944B-E07FC1F90AE7}', 3, 'about 3')");
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
