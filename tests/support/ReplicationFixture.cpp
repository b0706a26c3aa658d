#include "ReplicationFixture.h"

#include "com/convert.h"

#include <bit>

namespace {

using CounterValues = std::array<long, sizeof(Counters) / sizeof(long)>;

bool isLoggedStatement(const std::wstring& entry)
{
    return entry.starts_with(L"DEBUG: Conn");
}

} // namespace

namespace quinmark {

bool operator==(const Counters& left, const Counters& right)
{
    return std::bit_cast<CounterValues>(left) == std::bit_cast<CounterValues>(right);
}

void PrintTo(const Counters& counters, std::ostream* out)
{
    *out << "source updates, adds, deletes, destination updates, adds, deletes, conflicts, errors: "
         << testing::PrintToString(std::bit_cast<CounterValues>(counters));
}

} // namespace quinmark

void ReplicationTest::connectAt(long site)
{
    releaseConnections();
    connectedSettings({.site = site, .role = site == OFFICES ? L"SOURCE" : L"DESTINATION"});
    ado().setDefaultDatabase(L"source", L"OfficeDB");
    ado().setDefaultDatabase(L"destination", L"LaptopDB");
    ado().answer(L"InsertReplicationConflict", {{}, 0, {{0, L"{C1}"}}});
    ado().answerOthers(
        [this](const auto& connection, const auto& statement) { return answerTo(connection, statement); });
}

void ReplicationTest::useTable(const std::wstring& sTable, const std::wstring& sKey)
{
    sTable_ = sTable;
    sKey_ = sKey;
}

void ReplicationTest::row(const std::wstring& key, Seconds source, Seconds destination)
{
    Row found{_variant_t(key.c_str())};
    for (const Seconds& seconds : {source, destination})
        if (seconds)
            found.emplace_back(at(*seconds), VT_DATE);
    (source && destination ? both_ : source ? sourceOnly_ : destinationOnly_).push_back(found);
    if (source)
        holds(L"source", key, L"S", *source);
    if (destination)
        holds(L"destination", key, L"D", *destination);
}

void ReplicationTest::rowOfEachKind()
{
    row(L"K1", 10, -10);
    row(L"K2", 10, 20);
    row(L"K3", -20, 30);
    row(L"K4", 40, kNone);
    row(L"K5", -50, kNone);
    row(L"K6", kNone, 60);
    row(L"K7", kNone, -70);
}

void ReplicationTest::holds(const std::wstring& connection, const std::wstring& key, const std::wstring& name,
                            double seconds)
{
    held_[{connection, key}] = {_variant_t(key.c_str()), _variant_t(name.c_str()), _variant_t(at(seconds), VT_DATE)};
}

AdoAnswer ReplicationTest::answerTo(const std::wstring& connection, const std::wstring& statement) const
{
    if (statement.starts_with(L"select dest."))
        return adoRows({sKey_, L"src_mod_date", L"dest_mod_date"}, both_);
    if (statement.starts_with(L"select zt."))
        return adoRows({sKey_, L"nrv_mod_date", L"zt_mod_date"}, both_);
    if (const size_t lacks = statement.find(L" not in ("); lacks != std::wstring::npos)
        return adoRows({sKey_, L"mod_date"}, statement.find(L"office.") < lacks ? sourceOnly_ : destinationOnly_);
    const size_t key = statement.find(L" = '");
    if (key == std::wstring::npos || !(statement.starts_with(L"Select ") || statement.starts_with(L"select ")))
        return {};
    const std::wstring sKey = statement.substr(key + 4, statement.size() - key - 5);
    if (statement.starts_with(L"select item_name "))
        return adoTexts(L"item_name", {L"Item " + sKey});
    const auto held = held_.find({connection, sKey});
    return adoRows({L"unid", L"item_name", L"mod_date"},
                   held == held_.end() ? std::vector<Row>() : std::vector<Row>{held->second});
}

void ReplicationTest::init(long method, const std::wstring& sDependentTable, long deletes)
{
    table_->init(method, sTable_, sDependentTable, sKey_ == L"unid" ? L"" : sKey_, deletes);
}

void ReplicationTest::go()
{
    table_->go(kLast, kNext, *face_.Get());
}

void ReplicationTest::runAt(long site, long method, const std::wstring& sDependentTable, long deletes)
{
    connectAt(site);
    init(method, sDependentTable, deletes);
    go();
}

com::Error ReplicationTest::goError()
{
    return raised([this] { go(); });
}

Lines ReplicationTest::sent()
{
    Lines lines;
    for (const auto& [connection, statement] : ado().statements())
        lines.push_back(connection + L": " + statement);
    return lines;
}

Lines ReplicationTest::transcript()
{
    Lines log = logEntries();
    std::erase_if(log, [](const std::wstring& entry) { return !isLoggedStatement(entry); });
    auto entry = log.begin();
    Lines lines;
    for (const auto& [connection, statement] : ado().statements()) {
        const bool isLogged = entry != log.end() && entry->ends_with(L": " + statement);
        entry += isLogged;
        lines.push_back(connection + (isLogged ? L", logged: " : L": ") + statement);
    }
    EXPECT_EQ(log.end() - entry, 0) << "logged, but not sent";
    return lines;
}

Lines ReplicationTest::written()
{
    Lines lines = sent();
    std::erase_if(lines, [](const std::wstring& line) {
        const std::wstring statement = line.substr(line.find(L": ") + 2);
        return statement.starts_with(L"Select ") || statement.starts_with(L"select ") ||
               statement.starts_with(L"insert into replication_counts ");
    });
    return lines;
}

Lines ReplicationTest::logHeads()
{
    Lines heads = logEntries();
    std::erase_if(heads, isLoggedStatement);
    for (std::wstring& head : heads)
        head.resize(std::min(head.size(), head.find(L"\r\n")));
    return heads;
}

void ReplicationTest::expectEveryFailureEndsTheRun(const std::wstring& description, const Lines& atEnd)
{
    go();
    const Lines good = sent();
    ASSERT_GE(good.size(), 10U);
    for (size_t failing = 0; failing < good.size(); ++failing) {
        ado().forget();
        ado().failMember(L"Command.Execute", connectionLost(), failing + 1);
        EXPECT_EQ(goError(), (com::Error{E_FAIL, L"clsReplicateTable.go", description}));
        Lines expected(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(failing));
        expected.insert(expected.end(), atEnd.begin(), atEnd.end());
        EXPECT_EQ(sent(), expected) << good[failing];
        EXPECT_EQ(ado().liveObjects(), 2);
    }
}
