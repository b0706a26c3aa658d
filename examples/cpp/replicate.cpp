// Replicates the tables of an office with its laptop's database, from the office: the office's database is the local
// one and the source. Early bound, through the header that is generated from the type library's source.
//
//   replicate LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]
//       [--ready] [--reset-error]
//
// The password of both logins comes from the environment variable QUINMARK_PASSWORD. --ready marks the site ready for
// this run. --reset-error shows and clears the recorded error: give it only after a look at the conflicts, because the
// next run may delete or overwrite their rows. The exit status is one of quinrep's, 0 to 4 (docs/quinrep.md).
#include "QuinmarkRepDLL.h"

#include <comdef.h>
#include <wrl/client.h>

#include <cstdio>
#include <cwchar>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

using Microsoft::WRL::ComPtr;

namespace {

constexpr short kLogLevelDebug = 1;
constexpr short kSecondsBetweenAttempts = 900;
constexpr wchar_t kProgramVersion[] = L"3.46";
constexpr wchar_t kNextStep[] = L"Look at the conflicts (cscript conflicts.vbs list --office, or quinrep review) and "
                                L"settle each one. Only then run with --reset-error.";

using Tables = std::vector<ComPtr<_clsReplicateTable>>;

/// The command line.
struct Arguments
{
    bool ready = false;
    bool resetError = false;
    /// The log's file, then data sources and prefixes.
    std::vector<const wchar_t*> names;
};

/// A failed call, with what the component told about it.
struct Failure
{
    HRESULT number;
    std::wstring source;
    std::wstring text;
};

std::wstring textOf(const _bstr_t& text)
{
    return text.length() > 0 ? std::wstring(text) : std::wstring();
}

void check(HRESULT result)
{
    if (SUCCEEDED(result))
        return;
    ComPtr<IErrorInfo> told;
    if (GetErrorInfo(0, &told) != S_OK)
        throw Failure{result, L"", _com_error(result).ErrorMessage()};
    _bstr_t source;
    _bstr_t text;
    told->GetSource(source.GetAddress());
    told->GetDescription(text.GetAddress());
    throw Failure{result, textOf(source), textOf(text)};
}

/// A text as the component takes it: by reference.
class Text
{
public:
    explicit Text(const wchar_t* text) : text_(text) {}
    BSTR* operator&() { return &text_.GetBSTR(); }

private:
    _bstr_t text_;
};

std::wstring password()
{
    wchar_t text[256] = L"";
    const DWORD length = GetEnvironmentVariableW(L"QUINMARK_PASSWORD", text, static_cast<DWORD>(std::size(text)));
    return std::wstring(text, length < std::size(text) ? length : 0);
}

void connect(_Factory& factory, const std::vector<const wchar_t*>& names)
{
    enumReplicationUniqueId site = OFFICES;
    short logLevel = kLogLevelDebug;
    const std::wstring secret = password();
    Text role(L"SOURCE");
    const bool all = names.size() == 5;
    Text officeDsn(all ? names[1] : L"QuinmarkOffice");
    Text officePrefix(all ? names[2] : L"office.");
    Text laptopDsn(all ? names[3] : L"QuinmarkLaptop");
    Text laptopPrefix(all ? names[4] : L"laptop.");
    Text officePassword(secret.c_str());
    Text laptopPassword(secret.c_str());
    Text log(names[0]);
    check(factory.init(&site, &role, &officePrefix, &officeDsn, &officePassword, &laptopPrefix, &laptopDsn,
                       &laptopPassword, &logLevel, &log));
}

ComPtr<_clsReplicateTable> createTable(_Factory& factory, enumReplicationMethod method, const wchar_t* table,
                                       const wchar_t* dependentTable = L"", const wchar_t* keyField = L"",
                                       enumReplicateDeletes deletes = UNKNOWN)
{
    Text name(table);
    Text dependent(dependentTable);
    Text key(keyField);
    ComPtr<_clsReplicateTable> created;
    check(factory.createReplicationTable(&method, &name, &dependent, &key, &deletes, &created));
    return created;
}

Tables createTables(_Factory& factory)
{
    return {createTable(factory, ONE_WAY_DELETE_ALL, L"ada_code"),
            createTable(factory, ONE_WAY_WITH_PK_FIELD, L"dentist_company", L"", L"dc_id", DELETE_WITH_UPDATES),
            createTable(factory, ONE_WAY, L"dentist"), createTable(factory, ONE_WAY_ALLOW_DELETES, L"patient"),
            createTable(factory, ONE_WAY_ALLOW_DELETES, L"chart_option", L"chart_option_setting")};
}

void go(_clsReplicate& run, const Tables& tables)
{
    _variant_t collection;
    collection.parray = SafeArrayCreateVector(VT_DISPATCH, 0, static_cast<ULONG>(tables.size()));
    collection.vt = VT_ARRAY | VT_DISPATCH;
    LONG index = 0;
    for (const ComPtr<_clsReplicateTable>& table : tables) {
        check(SafeArrayPutElement(collection.parray, &index, table.Get()));
        ++index;
    }
    check(run.go(&collection));
}

std::wstring errorMessage(_clsReplicate& run)
{
    _bstr_t text;
    check(run.get_sErrorMessage(text.GetAddress()));
    return textOf(text);
}

std::wstring errorText(const Failure& failure)
{
    wchar_t number[32] = L"";
    swprintf(number, std::size(number), L"%ld (0x%08lX), ", failure.number, static_cast<unsigned long>(failure.number));
    return number + failure.source + L": " + failure.text;
}

/// The error goes into the control record, so that the next attempt and the administrator see it. Tells why it could
/// not.
std::wstring recordError(_Factory& factory, _clsReplicate& run)
{
    try {
        VARIANT_BOOL failed = VARIANT_TRUE;
        Text message(errorMessage(run).c_str());
        check(factory.setError(&failed, &message));
        return L"";
    }
    catch (const Failure& failure) {
        return L"\nand it could not be recorded: " + errorText(failure);
    }
}

void showTable(_clsReplicateTable& table)
{
    _bstr_t name;
    long added = 0;
    long updated = 0;
    long deleted = 0;
    long conflicts = 0;
    check(table.get_sTable(name.GetAddress()));
    check(table.get_lCntDestAdd(&added));
    check(table.get_lCntDestUpdate(&updated));
    check(table.get_lCntDestDelete(&deleted));
    check(table.get_lCntConflict(&conflicts));
    wprintf(L"%ls: added %ld, updated %ld, deleted %ld, conflicts %ld\n", textOf(name).c_str(), added, updated, deleted,
            conflicts);
}

bool hasError(_clsReplicate& run)
{
    VARIANT_BOOL flag = VARIANT_FALSE;
    check(run.get_bError(&flag));
    return flag != VARIANT_FALSE;
}

void say(const std::wstring& text)
{
    wprintf(L"%ls\n", text.c_str());
}

int stop(int status, const std::wstring& text)
{
    say(text);
    return status;
}

/// 0, or 2 and what was recorded. The error stays recorded until a person has decided.
int statusOfRun(_clsReplicate& run, const Tables& tables)
{
    int status = 0;
    if (hasError(run))
        status = stop(2, L"Recorded: " + errorMessage(run));
    for (const ComPtr<_clsReplicateTable>& table : tables) {
        long conflicts = 0;
        _bstr_t name;
        check(table->get_lCntConflict(&conflicts));
        check(table->get_sTable(name.GetAddress()));
        if (conflicts > 0)
            status = stop(2, L"Conflicts in " + textOf(name) + L": " + std::to_wstring(conflicts));
    }
    if (status == 2)
        say(kNextStep);
    return status;
}

int replicate(_Factory& factory, const Arguments& given)
{
    VARIANT_BOOL flag = VARIANT_FALSE;
    check(factory.ensureReplication(&flag));
    if (!flag) {
        _variant_t reason;
        check(factory.get_sErrorMessage(&reason));
        return stop(1, L"The databases do not belong together: " + textOf(_bstr_t(reason)));
    }
    ComPtr<_clsReplicate> run;
    short frequency = kSecondsBetweenAttempts;
    Text version(kProgramVersion);
    check(factory.createReplication(&run));
    if (given.ready)
        check(run->SetReady());
    check(run->initNextRun(&frequency, &version));
    if (given.resetError && hasError(*run.Get())) {
        say(L"Clearing the recorded error: " + errorMessage(*run.Get()));
        check(factory.resetError());
        check(run->initNextRun(&frequency, &version));
    }
    if (hasError(*run.Get()))
        return stop(4, L"Nothing was run. Recorded: " + errorMessage(*run.Get()) + L"\n" + kNextStep);
    check(run->get_bReady(&flag));
    if (!flag)
        return stop(4, L"Nothing was run: this site is not ready; --ready marks it");

    const Tables tables = createTables(factory);
    try {
        go(*run.Get(), tables);
    }
    catch (const Failure& failure) {
        return stop(1, L"The run failed: " + errorText(failure) + recordError(factory, *run.Get()));
    }
    for (const ComPtr<_clsReplicateTable>& table : tables)
        showTable(*table.Get());
    return statusOfRun(*run.Get(), tables);
}

int run(const Arguments& given)
{
    ComPtr<_Factory> factory;
    check(CoCreateInstance(CLSID_Factory, nullptr, CLSCTX_INPROC_SERVER, IID__Factory, &factory));
    const std::unique_ptr<_Factory, HRESULT (*)(_Factory*)> connected(
        factory.Get(), [](_Factory* object) { return object->disconnect(); });
    connect(*factory.Get(), given.names);
    return replicate(*factory.Get(), given);
}

Arguments readArguments(int count, wchar_t* arguments[])
{
    Arguments read;
    for (int index = 1; index < count; ++index) {
        const std::wstring_view argument = arguments[index];
        if (argument == L"--ready")
            read.ready = true;
        else if (argument == L"--reset-error")
            read.resetError = true;
        else
            read.names.push_back(arguments[index]);
    }
    return read;
}

} // namespace

int wmain(int count, wchar_t* arguments[])
{
    const Arguments given = readArguments(count, arguments);
    if (given.names.size() != 1 && given.names.size() != 5)
        return stop(3, L"usage: replicate LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX] "
                       L"[--ready] [--reset-error]");
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        return stop(1, L"COM is not available");
    int status = 1;
    try {
        status = run(given);
    }
    catch (const Failure& failure) {
        say(L"Could not replicate: " + errorText(failure));
    }
    CoUninitialize();
    return status;
}
