// Runs tables through the registered component for the model: one command a line on standard input, its fields
// separated by tabs; the answer is several lines on standard output that end with "done". UTF-8, with \t \n \r \\.
#include "com/convert.h"
#include "com/dispatch.h"
#include "support/Apartment.h"
#include "support/LateCall.h"
#include "support/MessageBoxes.h"
#include "support/TextLine.h"

#include <cmath>
#include <iostream>
#include <map>
#include <stdexcept>

namespace {

using com::Dispatch;
using Fields = std::vector<std::wstring>;

constexpr short kFrequencySeconds = 600;
constexpr double kMillisecondsADay = 86'400'000.0;
constexpr wchar_t kLoadable[] =
    L"select unid, last_replicate_date, table_name, coalesce(patient_id, 0) patient_id, guid, conflict_type, key_info, "
    L"coalesce(source_mod_date, last_replicate_date) source_mod_date, coalesce(destination_mod_date, "
    L"last_replicate_date) destination_mod_date from replication_conflict where unid = '";
constexpr const wchar_t* kCounters[] = {L"lCntSourceAdd",  L"lCntSourceUpdate", L"lCntSourceDelete", L"lCntDestAdd",
                                        L"lCntDestUpdate", L"lCntDestDelete",   L"lCntConflict",     L"lCntError"};

void answer(const Fields& fields)
{
    std::cout << joinLine(fields) << '\n';
}

_variant_t text(const std::wstring& value)
{
    return com::textVariant(value);
}

class Host
{
public:
    void obey(const Fields& command);

private:
    void init(const Fields& command);
    void createTable(const Fields& command);
    void goTable(const Fields& command);
    void goRun(const Fields& command);
    void resolve(const Fields& command);
    void tellCounters(const Dispatch& table) const;
    _variant_t date(const std::wstring& value);

    Dispatch factory_ = Dispatch::create(L"QuinmarkRepDLL.Factory");
    Fields boxes_;
    const UnshownBoxes unshown_{[this](const wchar_t* text) { boxes_.emplace_back(text); }, L"QuinmarkRepDLL.dll"};
    Dispatch local_ = Dispatch::create(L"ADODB.Connection");
    std::vector<Dispatch> tables_;
    std::map<std::wstring, DATE> dates_;
};

/// Connects, anew if it was connected: init SITE ROLE SOURCE_PREFIX SOURCE_DSN DESTINATION_PREFIX DESTINATION_DSN PASSWORD LOG_LEVEL LOG_FILE
void Host::init(const Fields& command)
{
    tables_.clear();
    factory_.call(L"disconnect");
    local_ = Dispatch::create(L"ADODB.Connection");
    const std::wstring& local = command.at(command.at(2) == L"SOURCE" ? 4 : 6);
    local_.call(L"Open", {text(L"DSN=" + local + L";UID=quinmarkapp_user;PWD=" + command.at(7))});
    factory_.call(L"init", {std::stol(command.at(1)), text(command.at(2)), text(command.at(3)), text(command.at(4)),
                            text(command.at(7)), text(command.at(5)), text(command.at(6)), text(command.at(7)),
                            static_cast<short>(std::stoi(command.at(8))), text(command.at(9))});
}

/// table METHOD NAME DEPENDENT KEY_FIELD DELETES
void Host::createTable(const Fields& command)
{
    tables_.push_back(Dispatch::from(
        factory_.call(L"createReplicationTable", {std::stol(command.at(1)), text(command.at(2)), text(command.at(3)),
                                                  text(command.at(4)), std::stol(command.at(5))})));
}

/// A date as the component gets it in a run: read from a database, by an expression.
_variant_t Host::date(const std::wstring& value)
{
    if (!dates_.contains(value)) {
        const Dispatch row = Dispatch::from(local_.call(L"Execute", {text(L"select " + value)}));
        const Dispatch field = Dispatch::from(Dispatch::from(row.property(L"Fields")).property(L"Item", {0L}));
        dates_[value] = com::toDate(field.property(L"Value"));
        row.call(L"Close");
    }
    return _variant_t(dates_[value], VT_DATE);
}

void Host::tellCounters(const Dispatch& table) const
{
    Fields fields{L"counters"};
    for (const wchar_t* counter : kCounters)
        fields.push_back(com::toText(table.property(counter)));
    answer(fields);
}

/// go INDEX LAST NEXT, where "0" is no date
void Host::goTable(const Fields& command)
{
    const _variant_t last = command.at(2) == L"0" ? _variant_t(0.0, VT_DATE) : date(command.at(2));
    const _variant_t next = command.at(3) == L"0" ? _variant_t(0.0, VT_DATE) : date(command.at(3));
    tables_.at(std::stoul(command.at(1))).call(L"go", {last, next});
}

/// run PROGRAM_VERSION: tells the end of the interval in milliseconds since 30 December 1899, and the run's properties.
void Host::goRun(const Fields& command)
{
    const Dispatch run = Dispatch::from(factory_.call(L"createReplication"));
    std::vector<_variant_t> tables;
    for (const Dispatch& table : tables_)
        tables.emplace_back(table.get());
    const auto tell = [&run] {
        const DATE next = com::toDate(run.property(L"dNextReplicate"));
        answer({L"run", std::to_wstring(std::llround(next * kMillisecondsADay)),
                com::toBool(run.property(L"bError")) ? L"1" : L"0", com::toBool(run.property(L"bReady")) ? L"1" : L"0",
                com::toText(run.property(L"sErrorMessage"))});
    };
    try {
        run.call(L"initNextRun", {kFrequencySeconds, text(command.at(1))});
        run.call(L"go", {arrayOf(tables)});
    }
    catch (const com::Error&) {
        tell();
        throw;
    }
    tell();
}

/// resolve CONFLICT RESOLUTION: tells whether the component did not refuse, and why it did. A date that a row was
/// recorded without is filled in, as quinrep does.
void Host::resolve(const Fields& command)
{
    const Dispatch conflict = Dispatch::from(factory_.call(L"createConflict", {text(command.at(1))}));
    const Dispatch row = Dispatch::from(local_.call(L"Execute", {text(kLoadable + command.at(1) + L"'")}));
    conflict.call(L"loadFromRs", {_variant_t(row.get())});
    row.call(L"Close");
    conflict.put(L"iResolutionType", static_cast<short>(std::stoi(command.at(2))));
    const bool settled = com::toBool(conflict.call(L"resolve"));
    answer({L"resolved", settled ? L"1" : L"0", com::toText(conflict.property(L"sErrorMessage"))});
}

void Host::obey(const Fields& command)
{
    const std::wstring& verb = command.at(0);
    boxes_.clear();
    try {
        if (verb == L"init")
            init(command);
        else if (verb == L"table")
            createTable(command);
        else if (verb == L"go")
            goTable(command);
        else if (verb == L"run")
            goRun(command);
        else if (verb == L"resolve")
            resolve(command);
        else if (verb == L"try")
            local_.call(L"Execute", {text(command.at(1))});
        else if (verb == L"clear")
            tables_.clear();
        else
            throw std::invalid_argument("unknown command");
    }
    catch (const com::Error& error) {
        answer({L"error", std::to_wstring(static_cast<unsigned long>(com::errorResult(error.number))), error.source,
                error.description});
    }
    for (const std::wstring& box : boxes_)
        answer({L"box", box});
    for (const Dispatch& table : tables_)
        tellCounters(table);
    std::cout << "done" << std::endl;
}

} // namespace

int main()
{
    std::ios::sync_with_stdio(false);
    const Apartment apartment;
    Host host;
    for (std::string line; std::getline(std::cin, line);)
        host.obey(splitLine(line));
}
