// A host of the registered component that runs it once:
//
//   bench_run [--trace=FILE] [--whole] SOURCE_DSN SOURCE_PREFIX DESTINATION_DSN DESTINATION_PREFIX LOG_LEVEL LOG_FILE
//             {METHOD TABLE KEY}...
//
// The site is the office, and the password of both logins comes from QUINMARK_PASSWORD. A KEY may be empty; with one,
// deletes are replicated. With --whole connecting and disconnecting belong to the work. With --trace FILE gets what is
// sent to the databases.
#include "QuinmarkRepDLL.h"
#include "TraceRecorder.h"
#include "com/dispatch.h"
#include "protocol.h"
#include "support/Apartment.h"

#include <cstdio>
#include <optional>

namespace {

constexpr std::wstring_view kTrace = L"--trace=";
constexpr int kSettings = 6;
constexpr int kTableWords = 3;

class Host
{
public:
    /// `settings` and the tables after them are those of the command line.
    Host(const wchar_t* const* settings, const wchar_t* const* end) : settings_(settings)
    {
        for (const wchar_t* const* table = settings + kSettings; table + kTableWords <= end; table += kTableWords) {
            const enumReplicateDeletes deletes = *table[2] == L'\0' ? UNKNOWN : DELETE_WITH_UPDATES;
            tables_.push_back(com::Dispatch::from(factory_.call(
                L"createReplicationTable", {std::stol(table[0]), table[1], L"", table[2], long{deletes}})));
        }
    }

    void connect() const
    {
        const wchar_t* password = _wgetenv(L"QUINMARK_PASSWORD");
        factory_.call(L"init", {long{OFFICES}, L"SOURCE", settings_[1], settings_[0], password, settings_[3],
                                settings_[2], password, std::stol(settings_[4]), settings_[5]});
    }

    void replicate() const
    {
        if (!factory_.call(L"ensureReplication"))
            throw com::Error{0, L"bench_run", L"the databases do not belong together"};
        const auto run = com::Dispatch::from(factory_.call(L"createReplication"));
        constexpr long kSecondsBetweenAttempts = 900;
        run.call(L"initNextRun", {kSecondsBetweenAttempts, L"laptop"});
        run.call(L"go", {collection()});
    }

    void disconnect() const { factory_.call(L"disconnect"); }

    long updated() const
    {
        long rows = 0;
        for (const com::Dispatch& table : tables_)
            rows += static_cast<long>(table.property(L"lCntDestUpdate"));
        return rows;
    }

private:
    _variant_t collection() const
    {
        _variant_t tables;
        tables.parray = SafeArrayCreateVector(VT_DISPATCH, 0, static_cast<ULONG>(tables_.size()));
        tables.vt = VT_ARRAY | VT_DISPATCH;
        for (size_t index = 0; index < tables_.size(); ++index) {
            auto at = static_cast<LONG>(index);
            com::check(SafeArrayPutElement(tables.parray, &at, tables_[index].get()));
        }
        return tables;
    }

    const wchar_t* const* settings_;
    com::Dispatch factory_ = com::Dispatch::create(L"QuinmarkRepDLL.Factory");
    std::vector<com::Dispatch> tables_;
};

void measure(const Host& host, bool whole)
{
    if (!whole)
        host.connect();
    sayAndWait("begin");
    if (whole)
        host.connect();
    host.replicate();
    if (whole)
        host.disconnect();
    sayAndWait("end updated=" + std::to_string(host.updated()));
    if (!whole)
        host.disconnect();
}

} // namespace

int wmain(int count, wchar_t* words[])
try {
    const Apartment apartment;
    const wchar_t* const* const end = words + count;
    const wchar_t* const* next = words + 1;
    const std::wstring_view trace = count > 1 && std::wstring_view(*next).starts_with(kTrace) ? *next++ : L"";
    const bool whole = next < end && *next == std::wstring_view(L"--whole");
    next += whole ? 1 : 0;
    if (end - next < kSettings + kTableWords)
        return 2;
    std::optional<AdoProxy> recording;
    if (!trace.empty())
        recording.emplace(std::make_shared<TraceRecorder>(std::wstring(trace.substr(kTrace.size())), *next));
    measure(Host(next, end), whole);
    return 0;
}
catch (const com::Error& error) {
    wprintf(L"failed: %ld %ls: %ls\n", error.number, error.source.c_str(), error.description.c_str());
    return 1;
}
