#include "HostError.h"
#include "Quinrep.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

class Guard : public Quinrep
{
protected:
    /// As many old users of which the source lacks `lost`.
    void addUsers(int all, int lost)
    {
        for (int key = 1; key <= all; ++key) {
            addUser(destination(), key, L"user", kOld);
            if (key > lost)
                addUser(source(), key, L"user", kOld);
        }
    }
};

} // namespace

TEST_F(Guard, StopsBeforeAnythingIsWrittenAndNamesTableAndRows)
{
    addUsers(10, 3);
    const std::wstring before = controlRecord();
    const Ended ended = quinrepJson(L"run", "guard");
    EXPECT_EQ(ended.exitCode, kGuarded);
    EXPECT_EQ(ended.json()["guard"][0]["table"], "users");
    EXPECT_EQ(ended.json()["guard"][0]["deletes"], 3);
    EXPECT_EQ(ended.json()["guard"][0]["destination_rows"], 10);
    EXPECT_EQ(destination().count(L"users"), 10);
    EXPECT_EQ(controlRecord(), before);
    EXPECT_THAT(quinrep(L"run").output, HasSubstr("users: 3 of 10 rows, allowed are 20.0 %"));
}

TEST_F(Guard, ForceGoesOn)
{
    addUsers(10, 3);
    EXPECT_EQ(quinrep(L"run --force").exitCode, kDone);
    EXPECT_EQ(destination().count(L"users"), 7);
}

TEST_F(Guard, ExactlyTheAllowedShareMayGo)
{
    addUsers(10, 2);
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
    EXPECT_EQ(destination().count(L"users"), 8);
}

TEST_F(Guard, TableMayAllowMore)
{
    addUsers(10, 3);
    tables += "max_delete = 30\n";
    EXPECT_EQ(quinrep(L"run").exitCode, kDone);
}

TEST_F(Guard, EmptySourceOfAFullCopyIsStopped)
{
    tables = "[[table]]\nname = \"users\"\nmethod = \"full_copy\"\n";
    addUser(destination(), 1, L"last one", kOld);
    EXPECT_EQ(quinrepJson(L"run", "guard").exitCode, kGuarded);
    EXPECT_EQ(destination().count(L"users"), 1);
}

TEST_F(Guard, EmptySourceOfComputerTypeSettingsIsStopped)
{
    tables = "[[table]]\nname = \"computer_type\"\nmethod = \"computer_type\"\n";
    for (const PracticeSide* side : {&source(), &destination()})
        side->execute(L"insert into computer_type (unid, type_name) values ('{7C9E6679-7425-40DE-944B-E07FC1F90AE7}',"
                      L" 'desk')");
    destination().execute(L"insert into computer_type_setting (computer_type_id, setting_name) values"
                          L" ('{7C9E6679-7425-40DE-944B-E07FC1F90AE7}', 'colours')");
    EXPECT_EQ(quinrepJson(L"run", "guard").exitCode, kGuarded);
}
