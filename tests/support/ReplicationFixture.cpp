#include "ReplicationFixture.h"

#include "com/convert.h"

namespace {

constexpr short kVarChar = 200;
constexpr short kTimeStamp = 135;

std::wstring twoDigits(int number)
{
    return (number < 10 ? L"0" : L"") + std::to_wstring(number);
}

std::wstring quoted(const std::wstring& text)
{
    return L"\"" + text + L"\"";
}

_variant_t dateValue(DATE date)
{
    return _variant_t(date, VT_DATE);
}

std::wstring recordedDate(const std::wstring& date)
{
    return date.empty() ? L"Null" : L"#" + date + L"#";
}

} // namespace

namespace quinmark {

bool operator==(const Counters& left, const Counters& right)
{
    return left.lCntSourceUpdate == right.lCntSourceUpdate && left.lCntSourceAdd == right.lCntSourceAdd &&
           left.lCntSourceDelete == right.lCntSourceDelete && left.lCntDestUpdate == right.lCntDestUpdate &&
           left.lCntDestAdd == right.lCntDestAdd && left.lCntDestDelete == right.lCntDestDelete &&
           left.lCntConflict == right.lCntConflict && left.lCntError == right.lCntError;
}

void PrintTo(const Counters& counters, std::ostream* out)
{
    *out << "source updates " << counters.lCntSourceUpdate << " adds " << counters.lCntSourceAdd << " deletes "
         << counters.lCntSourceDelete << ", destination updates " << counters.lCntDestUpdate << " adds "
         << counters.lCntDestAdd << " deletes " << counters.lCntDestDelete << ", conflicts " << counters.lCntConflict
         << ", errors " << counters.lCntError;
}

} // namespace quinmark

std::wstring clockText(int seconds)
{
    const int time = 12 * 3600 + seconds;
    const int hour = time / 3600;
    return L"11/15/2026 " + std::to_wstring(hour % 12 == 0 ? 12 : hour % 12) + L":" + twoDigits(time / 60 % 60) + L":" +
           twoDigits(time % 60) + (hour < 12 ? L" AM" : L" PM");
}

Statements joined(std::initializer_list<Statements> parts)
{
    Statements all;
    for (const Statements& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

void ReplicationTest::connectAt(long site, short logLevel)
{
    ConnectOptions options;
    options.site = site;
    options.role = site == OFFICES ? L"SOURCE" : L"DESTINATION";
    options.logLevel = logLevel;
    site_ = std::to_wstring(site);
    connectedSettings(options);
    ado().setDefaultDatabase(L"source", L"OfficeDB");
    ado().setDefaultDatabase(L"destination", L"LaptopDB");
    ado().answer(L"InsertReplicationConflict", {{}, 0, {{0, L"{C1}"}}});
}

void ReplicationTest::useTable(const std::wstring& sTable, const std::wstring& sKey)
{
    sTable_ = sTable;
    sKey_ = sKey;
}

void ReplicationTest::bothHave(const std::wstring& key, double sourceSeconds, double destinationSeconds)
{
    both_.push_back({_variant_t(key.c_str()), dateValue(at(sourceSeconds)), dateValue(at(destinationSeconds))});
}

void ReplicationTest::onlySourceHas(const std::wstring& key, double seconds)
{
    sourceOnly_.push_back({_variant_t(key.c_str()), dateValue(at(seconds))});
}

void ReplicationTest::onlyDestinationHas(const std::wstring& key, double seconds)
{
    destinationOnly_.push_back({_variant_t(key.c_str()), dateValue(at(seconds))});
}

void ReplicationTest::sourceHolds(const std::wstring& key, const std::wstring& name, double seconds)
{
    holds(L"source", key, name, seconds);
}

void ReplicationTest::destinationHolds(const std::wstring& key, const std::wstring& name, double seconds)
{
    holds(L"destination", key, name, seconds);
}

void ReplicationTest::holds(const std::wstring& connection, const std::wstring& key, const std::wstring& name,
                            double seconds)
{
    AdoAnswer answer{{{{L"unid", kVarChar}, {L"item_name", kVarChar}, {L"mod_date", kTimeStamp}}, {}}, 0, {}};
    if (!name.empty())
        answer.rows.rows.push_back({_variant_t(key.c_str()), _variant_t(name.c_str()), dateValue(at(seconds))});
    const std::wstring byUnid = L"Select * from " + sTable_ + L" where unid = '" + key + L"'";
    ado().answerOn(connection, byUnid, answer);
    if (select(key) != byUnid)
        ado().answerOn(connection, select(key), answer);
    ado().answerOn(connection, selectDumped(key), answer);
    ado().answerOn(connection, L"Select * from office." + sTable_ + L" where unid = '" + key + L"'", answer);
    ado().answerOn(connection, L"select item_name from shortcut where unid = '" + key + L"'",
                   adoTexts(L"item_name", {L"Item " + key}));
}

void ReplicationTest::answerComparisons()
{
    const auto dates = [](const wchar_t* source, const wchar_t* destination, const std::wstring& key) {
        return std::vector<AdoColumn>{{key, kVarChar}, {source, kTimeStamp}, {destination, kTimeStamp}};
    };
    const std::vector<AdoColumn> keyAndDate{{sKey_, kVarChar}, {L"mod_date", kTimeStamp}};
    ado().answer(changedSql(), {{dates(L"src_mod_date", L"dest_mod_date", sKey_), both_}, 0, {}});
    ado().answer(twoWayChangedSql(), {{dates(L"nrv_mod_date", L"zt_mod_date", sKey_), both_}, 0, {}});
    ado().answer(sourceOnlySql(), {{keyAndDate, sourceOnly_}, 0, {}});
    ado().answer(destinationOnlySql(), {{keyAndDate, destinationOnly_}, 0, {}});
}

void ReplicationTest::init(long method, const std::wstring& sDependentTable, long deletes)
{
    table_->init(method, sTable_, sDependentTable, sKey_ == L"unid" ? L"" : sKey_, deletes);
}

void ReplicationTest::go()
{
    answerComparisons();
    table_->go(kLast, kNext, *face_.Get());
}

com::Error ReplicationTest::goError()
{
    return raised([&] { go(); });
}

Statements ReplicationTest::on(const std::wstring& connection, const Lines& texts)
{
    Statements statements;
    for (const std::wstring& text : texts)
        statements.emplace_back(connection, text);
    return statements;
}

std::wstring ReplicationTest::changedSql() const
{
    return L"select dest." + sKey_ + L", src.mod_date src_mod_date, dest.mod_date dest_mod_date from laptop." +
           sTable_ + L" dest join office." + sTable_ + L" src on src." + sKey_ + L" = dest." + sKey_ +
           L" where src.mod_date <> dest.mod_date and ( src.mod_date > '" + clockText(0) + L"' or dest.mod_date > '" +
           clockText(0) + L"')";
}

std::wstring ReplicationTest::twoWayChangedSql() const
{
    return L"select zt.unid, nrv.mod_date nrv_mod_date, zt.mod_date zt_mod_date from laptop." + sTable_ +
           L" zt join office." + sTable_ + L" nrv on nrv.unid = zt.unid where nrv.mod_date <> zt.mod_date and ( " +
           L"nrv.mod_date > '" + clockText(0) + L"' or zt.mod_date > '" + clockText(0) + L"')";
}

std::wstring ReplicationTest::missingSql(const std::wstring& has, const std::wstring& lacks) const
{
    return L"select " + sKey_ + L", mod_date from " + has + sTable_ + L" where " + sKey_ + L" not in (select " + sKey_ +
           L" from " + lacks + sTable_ + L")";
}

std::wstring ReplicationTest::select(const std::wstring& key) const
{
    return L"Select * from " + sTable_ + L" where " + sKey_ + L" = '" + key + L"'";
}

std::wstring ReplicationTest::selectDumped(const std::wstring& key) const
{
    return L"select * from " + sTable_ + L" where " + sKey_ + L" = '" + key + L"'";
}

std::wstring ReplicationTest::insert(const std::wstring& key, const std::wstring& name, int seconds) const
{
    return L"Insert into " + sTable_ + L" (unid, item_name, mod_date) values ('" + key + L"', '" + name + L"', '" +
           clockText(seconds) + L"')";
}

std::wstring ReplicationTest::update(const std::wstring& key, const std::wstring& name, int seconds) const
{
    return L"Update " + sTable_ + L" set unid = '" + key + L"', item_name = '" + name + L"', mod_date = '" +
           clockText(seconds) + L"' where " + sKey_ + L" = '" + key + L"'";
}

std::wstring ReplicationTest::remove(const std::wstring& key) const
{
    return L"delete from " + sTable_ + L" where " + sKey_ + L" = '" + key + L"'";
}

Statements ReplicationTest::compared(const std::wstring& key, bool describedBySource) const
{
    const std::wstring byUnid = L"Select * from " + sTable_ + L" where unid = '" + key + L"'";
    return joined({onSource({byUnid}), onDestination({byUnid}),
                   on(describedBySource ? L"source" : L"destination",
                      {L"select item_name from shortcut where unid = '" + key + L"'"})});
}

Statements ReplicationTest::recorded(const std::wstring& key, long kind, const std::wstring& sourceDate,
                                     const std::wstring& destinationDate, const Lines& names) const
{
    Lines calls{L"InsertReplicationConflict(Null, " + site_ + L", #11/16/2026 12:00:00 PM#, " + quoted(sTable_) +
                L", 0, " + quoted(key) + L", " + std::to_wstring(kind) + L", " + quoted(L"Item " + key) + L", " +
                recordedDate(sourceDate) + L", " + recordedDate(destinationDate) + L")"};
    for (const std::wstring& name : names)
        calls.push_back(L"InsertReplicationConflictData(\"{C1}\", " + name + L")");
    return joined({compared(key, kind == CHANGED_ON_BOTH || kind == NEW_ON_source), onLocal(calls)});
}

Statements ReplicationTest::marked(const std::wstring& message) const
{
    return onLocal({L"SetReplicationError(" + site_ + L", 1, " + quoted(message) + L")"});
}

Statements ReplicationTest::counted(const Counters& counters) const
{
    const std::wstring head =
        L"insert into replication_counts (unique_key, count_name, count_value) values (" + site_ + L",'" + sTable_;
    return onLocal({head + L" updates'," + std::to_wstring(counters.lCntDestUpdate) + L");" + head + L" adds'," +
                    std::to_wstring(counters.lCntDestAdd) + L");" + head + L" deletes'," +
                    std::to_wstring(counters.lCntDestDelete) + L");" + head + L" conflicts'," +
                    std::to_wstring(counters.lCntConflict) + L");" + head + L" errors'," +
                    std::to_wstring(counters.lCntError) + L")"});
}

std::wstring ReplicationTest::summary(const Counters& counters, const std::wstring& sTitle) const
{
    return L"STAT : Replicated table: " + sTitle + L"\r\n\tAdds to destination: " +
           std::to_wstring(counters.lCntDestAdd) + L"\r\n\tUpdates to destination: " +
           std::to_wstring(counters.lCntDestUpdate) + L"\r\n\tDeletes to destination: " +
           std::to_wstring(counters.lCntDestDelete) + L"\r\n\tConflicts: " + std::to_wstring(counters.lCntConflict) +
           L"\r\n\tErrors: " + std::to_wstring(counters.lCntError);
}
