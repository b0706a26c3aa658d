#include "support/PracticePair.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Users by their names: the same name is the same row, whatever its unid.
TablePlan usersByName(enumReplicateDeletes deletes)
{
    return {.method = ONE_WAY_WITH_PK_FIELD, .table = L"users", .keyField = L"user_name", .deletes = deletes};
}

class KeyField : public PracticePair
{
protected:
    /// One row of every kind that is settled without a conflict, matched by name.
    void addOneOfEachKind()
    {
        addUser(source(), 1, L"changed", kNew);
        addUser(destination(), 11, L"changed", kOld);
        addUser(source(), 2, L"new", kNew);
        addUser(destination(), 13, L"gone", kOld);
    }

    std::vector<std::wstring> countsOf(const Counters& counters)
    {
        return {L"users adds=" + std::to_wstring(counters.destAdd),
                L"users conflicts=" + std::to_wstring(counters.conflict),
                L"users deletes=" + std::to_wstring(counters.destDelete),
                L"users errors=" + std::to_wstring(counters.error),
                L"users updates=" + std::to_wstring(counters.destUpdate)};
    }

    static std::vector<std::wstring> names(const PracticeSide& side)
    {
        return side.rows(L"select user_name from users order by user_name");
    }
};

TEST_F(KeyField, WithUpdatesAndDeletesBringsTheDestinationInLine)
{
    addOneOfEachKind();
    const Counters counters = replicate(usersByName(DELETE_WITH_UPDATES));
    EXPECT_EQ(counters, (Counters{.destAdd = 1, .destUpdate = 1, .destDelete = 1}));
    EXPECT_EQ(destination().rows(L"select * from users order by unid"),
              source().rows(L"select * from users order by unid"));
    EXPECT_EQ(counts(), countsOf(counters));
    EXPECT_EQ(recordedError(), L"none");
}

TEST_F(KeyField, WithoutDeletesLeavesRowsThatOnlyTheDestinationHas)
{
    addOneOfEachKind();
    addUser(destination(), 14, L"new in the destination", kNew);
    EXPECT_EQ(replicate(usersByName(SKIP_DELETES)), (Counters{.destAdd = 1, .destUpdate = 1}));
    EXPECT_THAT(names(destination()), ElementsAre(L"changed", L"gone", L"new", L"new in the destination"));
    EXPECT_THAT(conflicts(), IsEmpty());
}

TEST_F(KeyField, WithDeletesAloneNeitherUpdatesNorInserts)
{
    addOneOfEachKind();
    EXPECT_EQ(replicate(usersByName(ONLY_DELETES)), (Counters{.destDelete = 1}));
    EXPECT_THAT(users(destination()), ElementsAre(L"11|changed"));
}

TEST_F(KeyField, WithDeletesAloneLeavesConflictsOfCommonRows)
{
    addUser(source(), 1, L"changed", kNew);
    addUser(destination(), 11, L"changed", kNewer);
    EXPECT_EQ(replicate(usersByName(ONLY_DELETES)), Counters{});
    EXPECT_THAT(conflicts(), IsEmpty());
}

TEST_F(KeyField, OfAnUnknownDeleteMethodUpdatesAndInserts)
{
    addOneOfEachKind();
    EXPECT_EQ(replicate(usersByName(static_cast<enumReplicateDeletes>(5))), (Counters{.destAdd = 1, .destUpdate = 1}));
    EXPECT_THAT(names(destination()), ElementsAre(L"changed", L"gone", L"new"));
}

TEST_F(KeyField, ThatIsMissingIsRecordedAndNothingIsDone)
{
    addOneOfEachKind();
    EXPECT_EQ(replicate({.method = ONE_WAY_WITH_PK_FIELD, .table = L"users", .deletes = DELETE_WITH_UPDATES}),
              Counters{});
    EXPECT_EQ(recordedError(), L"error: PKField not set for replicateOneWayWithPKField()");
    EXPECT_THAT(names(destination()), ElementsAre(L"changed", L"gone"));
    EXPECT_THAT(counts(), IsEmpty());
    EXPECT_FALSE(logged(L"Replicated table"));
    EXPECT_TRUE(controlRecord().starts_with(L"False|True|"));
}

TEST_F(KeyField, WithoutADeleteMethodIsRecordedAndNothingIsDone)
{
    addOneOfEachKind();
    EXPECT_EQ(replicate(usersByName(UNKNOWN)), Counters{});
    EXPECT_EQ(recordedError(), L"error: enumReplicatDeletes not set for replicateOneWayWithPKField()");
    EXPECT_THAT(names(destination()), ElementsAre(L"changed", L"gone"));
    EXPECT_THAT(counts(), IsEmpty());
}

TEST_F(KeyField, SummaryNamesItAndTheDeleteMethod)
{
    addOneOfEachKind();
    replicate(usersByName(DELETE_WITH_UPDATES));
    EXPECT_TRUE(logged(L": STAT : Replicated table: users with PKField: user_name and delete method: 2\r\n\tAdds to "
                       L"destination: 1\r\n\tUpdates to destination: 1\r\n\tDeletes to destination: 1\r\n"
                       L"\tConflicts: 0\r\n\tErrors: 0\r\n"));
    EXPECT_TRUE(logged(L": DEBUG: ConnDestination: delete from users where user_name = 'gone'\r\n"));
}

TEST_F(KeyField, RowNewInTheDestinationIsAnErrorAtTheOffices)
{
    addUser(destination(), 7, L"Ada", kNew);
    EXPECT_EQ(
        replicate(
            {.method = ONE_WAY_WITH_PK_FIELD, .table = L"users", .keyField = L"unid", .deletes = DELETE_WITH_UPDATES}),
        (Counters{.conflict = 1, .error = 1}));
    EXPECT_EQ(recordedError(),
              L"error: New in destination(" + destination().name() + L") - Destination adds are not allowed");
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|3|Ada"));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|Ada"));
}

TEST_F(KeyField, RowDeletedFromTheSourceIsAnErrorAtTheLaptop)
{
    runAt(LAPTOP);
    addUser(destination(), 7, L"Ada", kOld);
    EXPECT_EQ(
        replicate({.method = ONE_WAY_WITH_PK_FIELD, .table = L"users", .keyField = L"unid", .deletes = ONLY_DELETES}),
        (Counters{.conflict = 1, .error = 1}));
    EXPECT_EQ(recordedError(), L"error: Deleted from source(" + source().name() + L")");
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|5|Ada"));
    EXPECT_THAT(users(destination()), ElementsAre(L"7|Ada"));
}

TEST_F(KeyField, RowNewInTheDestinationIsLeftSilentlyAtTheLaptop)
{
    runAt(LAPTOP);
    addUser(destination(), 7, L"Ada", kNew);
    EXPECT_EQ(
        replicate(
            {.method = ONE_WAY_WITH_PK_FIELD, .table = L"users", .keyField = L"unid", .deletes = DELETE_WITH_UPDATES}),
        Counters{});
    EXPECT_THAT(conflicts(), IsEmpty());
}

TEST_F(KeyField, RowChangedOnBothSidesIsAConflictAtTheLaptop)
{
    runAt(LAPTOP);
    addUser(source(), 7, L"source", kNew);
    addUser(destination(), 7, L"destination", kNewer);
    EXPECT_EQ(
        replicate({.method = ONE_WAY_WITH_PK_FIELD, .table = L"users", .keyField = L"unid", .deletes = SKIP_DELETES}),
        (Counters{.conflict = 1}));
    EXPECT_EQ(recordedError(), L"none");
    EXPECT_THAT(conflicts(), ElementsAre(L"users|7|<Null>|1|source"));
}

class CompanyByNumber : public PracticePair
{
protected:
    const TablePlan kCompanies{.method = ONE_WAY_WITH_PK_FIELD,
                               .table = L"Dentist_Company",
                               .keyField = L"dc_id",
                               .deletes = DELETE_WITH_UPDATES};

    static void addCompany(const PracticeSide& side, const std::wstring& number, const std::wstring& name,
                           const std::wstring& modified)
    {
        side.execute(L"insert into dentist_company (dc_id, company_name, mod_date) values (" + number + L", '" + name +
                     L"', '" + modified + L"')");
    }

    static void addComment(const PracticeSide& side, const std::wstring& key, const std::wstring& company)
    {
        side.execute(L"insert into chart_comment_info (unid, dc_id, comment_text) values ('" + key + L"', " + company +
                     L", 'about " + company + L"')");
    }
};

TEST_F(CompanyByNumber, ThatIsDeletedLeavesItsComments)
{
    addCompany(source(), L"2", L"kept", kOld);
    addCompany(destination(), L"2", L"kept", kOld);
    addCompany(destination(), L"3", L"gone", kOld);
    addComment(destination(), L"{0F8FAD5B-D9CB-469F-A165-70867728950E}", L"2");
    addComment(destination(), L"{7C9E6679-7425-40DE-944B-E07FC1F90AE7}", L"3");
    EXPECT_EQ(replicate(kCompanies), (Counters{.destDelete = 1}));
    EXPECT_THAT(destination().rows(L"select dc_id, comment_text from chart_comment_info order by comment_text"),
                ElementsAre(L"2|about 2", L"<Null>|about 3"));
    EXPECT_THAT(destination().rows(L"select dc_id from dentist_company"), ElementsAre(L"2"));
    EXPECT_TRUE(logged(L"ConnDestination: update chart_comment_info set dc_id = null where dc_id = '3'\r\n"));
}

TEST_F(CompanyByNumber, ThatIsNewOrChangedIsCopied)
{
    addCompany(source(), L"2", L"changed", kNew);
    addCompany(destination(), L"2", L"before", kOld);
    addCompany(source(), L"4", L"new", kNew);
    EXPECT_EQ(replicate(kCompanies), (Counters{.destAdd = 1, .destUpdate = 1}));
    EXPECT_EQ(destination().rows(L"select * from dentist_company order by dc_id"),
              source().rows(L"select * from dentist_company order by dc_id"));
}

} // namespace
