// The destination's foreign keys when a run deletes single rows: what goes with them, or keeps them, is told before.
#include "Quinrep.h"

#include "support/CreatedTable.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

using Stop = std::pair<std::string, std::string>;

/// The office has deleted user 1 of three.
class Cascades : public Quinrep
{
protected:
    void prepare() override
    {
        tables = users_;
        addUsers(source(), 2, 3);
        addUsers(destination(), 1, 3);
    }

    /// A table of the destination's own whose rows refer to users or to each other, with a row for each key.
    Change referring(const std::wstring& name, const std::wstring& parent, const std::wstring& rule,
                     const std::wstring& rows) const
    {
        return {L"create table " + name + L" (unid int not null primary key, [user of it] int null, constraint FK_" +
                    name.substr(1, name.size() - 2) + L" foreign key ([user of it]) references " + parent +
                    L" (unid) " + rule + L"); insert into " + name + L" values " + rows,
                L"drop table " + name};
    }

    /// Reason and text of all reasons for which a run does not begin.
    std::vector<Stop> stops()
    {
        std::vector<Stop> found;
        for (const json& stop : json(quinrepJson(L"preview", "preview").result()["stops"]))
            found.emplace_back(stop["reason"], stop["text"]);
        return found;
    }

    const std::string users_ = tableSection("users", "one_way_deletes", "max_delete = 100");
    const std::string refers_ = "At the destination order refers in 2 of its rows to rows of users that would be "
                                "deleted (foreign key ";
};

} // namespace

TEST_F(Cascades, RowsThatWouldGoWithADeletedRowStopTheRun)
{
    const Sabotage order(destination(),
                         referring(L"[order]", L"users", L"on delete cascade", L"(1, 1), (2, 1), (3, 2)"));
    const std::string text = "). These rows of order would be deleted with them (on delete cascade). If that is meant, "
                             "run with --force; if not, let the key refuse it (no action).";
    EXPECT_THAT(stops(), ElementsAre(Pair("deletes", AllOf(StartsWith(refers_), EndsWith(text)))));
    EXPECT_EQ(quinrep(L"run").exitCode, kGuarded);
    EXPECT_EQ(destination().count(L"[order]"), 3);
    EXPECT_EQ(quinrep(L"run --force").exitCode, kDone);
    EXPECT_EQ(destination().count(L"[order]"), 1);
}

TEST_F(Cascades, RowsThatWouldGoWithTheseStopItToo)
{
    const Sabotage order(destination(),
                         referring(L"[order]", L"users", L"on delete cascade", L"(1, 1), (2, 1), (3, 2)"));
    const Sabotage items(destination(),
                         referring(L"[item]", L"[order]", L"on delete cascade", L"(1, 2), (2, 2), (3, 3)"));
    const Sabotage marks(destination(), referring(L"[mark]", L"[item]", L"on delete set null", L"(1, 1), (2, 3)"));
    const auto refers = [](const std::string& what) {
        return HasSubstr("At the destination " + what + " that would be deleted (foreign key ");
    };
    EXPECT_THAT(stops(),
                UnorderedElementsAre(Pair("deletes", refers("item refers in 2 of its rows to rows of order")),
                                     Pair("updates", refers("mark refers in 1 of its rows to rows of item")),
                                     Pair("deletes", refers("order refers in 2 of its rows to rows of users"))));
}

TEST_F(Cascades, RowsThatKeepADeletedRowStopTheRun)
{
    const Sabotage order(destination(), referring(L"[order]", L"users", L"", L"(1, 1), (2, 1)"));
    EXPECT_THAT(stops(),
                ElementsAre(Pair("will_fail", EndsWith("). So these cannot be deleted, and the run fails. Look at "
                                                       "these rows of order there: let them refer to another row "
                                                       "of users, or delete those that nobody needs."))));
    EXPECT_EQ(quinrep(L"run --force").exitCode, kFailed);
    destination().execute(L"update [order] set [user of it] = 2");
    EXPECT_THAT(stops(), IsEmpty());
}

TEST_F(Cascades, RowsThatTheRunDeletesAnywayDoNotStopIt)
{
    const std::wstring columns = L"unid int not null primary key, user_id int, mod_date " + dateType();
    const CreatedTable notes(source(), destination(), host(), columns, L"user_note");
    const Sabotage key(destination(),
                       L"alter table user_note add constraint FK_note foreign key (user_id) references users (unid) on "
                       L"delete cascade",
                       L"alter table user_note drop constraint FK_note");
    destination().execute(L"insert into user_note values (1, 1, '" + std::wstring(kOld) + L"')");
    tables = users_ + tableSection("user_note", "one_way_deletes", "max_delete = 100");
    EXPECT_THAT(stops(), IsEmpty());
    destination().execute(L"insert into user_note values (2, 1, '" + std::wstring(kNew) + L"')");
    EXPECT_THAT(stops(), Contains(Pair("deletes", HasSubstr("user_note refers in 1 of its rows"))))
        << "a row that somebody entered there since the last run";
    destination().execute(L"delete from user_note");
}

TEST_F(Cascades, RowsBehindThoseThatAFullCopyWouldTakeAlongStopIt)
{
    tables = tableSection("users", "full_copy", "max_delete = 100\nmax_update = 100");
    const Sabotage order(destination(), referring(L"[order]", L"users", L"on delete cascade", L"(1, 1), (2, null)"));
    const Sabotage items(destination(), referring(L"[item]", L"[order]", L"", L"(1, 1), (2, 2)"));
    EXPECT_THAT(
        stops(),
        ElementsAre(Pair("will_fail", HasSubstr("Have a run bring users row by row, by another method than full_copy")),
                    Pair("deletes", HasSubstr("order refers in 1 of its rows to rows of users"))));
}

TEST_F(Cascades, AreToldByCheck)
{
    const Sabotage order(destination(), referring(L"[order]", L"users", L"on delete cascade", L"(1, 1)"));
    json finding;
    for (const json& check : json(quinrepJson(L"check", "check").result()["checks"]))
        if (check["check"] == "table users" && check["warning"] == true)
            finding = check;
    EXPECT_THAT(finding.dump(),
                AllOf(HasSubstr("with a row, the destination deletes the rows of order that refer to it (foreign key "),
                      HasSubstr("let the key refuse it (no action)")));
}
