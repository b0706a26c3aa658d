// Replicates the tables of an office with its laptop's database, from the office: the office's database is the local
// one and the source. Early bound, through the header that is generated from the type library's source.
//
//   replicate LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]
//
// The password of both logins comes from the environment variable QUINMARK_PASSWORD. Ends with status 0 when the run
// went through, 1 when it failed and 2 when it may not run now; every error is shown with its number, source and text.
#include "QuinmarkRepDLL.h"

#include <comdef.h>
#include <wrl/client.h>

#include <cstdio>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

using Microsoft::WRL::ComPtr;

namespace {

constexpr short kLogLevelDebug = 1;
constexpr short kSecondsBetweenAttempts = 900;
constexpr wchar_t kProgramVersion[] = L"3.46";

using Tables = std::vector<ComPtr<_clsReplicateTable>>;

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

void connect(_Factory& factory, const wchar_t* logFile, const std::vector<const wchar_t*>& databases)
{
    enumReplicationUniqueId site = OFFICES;
    short logLevel = kLogLevelDebug;
    const std::wstring secret = password();
    Text role(L"SOURCE");
    Text officeDsn(databases[0]);
    Text officePrefix(databases[1]);
    Text laptopDsn(databases[2]);
    Text laptopPrefix(databases[3]);
    Text officePassword(secret.c_str());
    Text laptopPassword(secret.c_str());
    Text log(logFile);
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

/// An error goes into the control record first, so that the next attempt and the administrator see it.
void goOrRecord(_Factory& factory, _clsReplicate& run, const Tables& tables)
{
    try {
        go(run, tables);
    }
    catch (const Failure&) {
        VARIANT_BOOL failed = VARIANT_TRUE;
        Text message(errorMessage(run).c_str());
        check(factory.setError(&failed, &message));
        throw;
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

int stop(int status, const std::wstring& text)
{
    wprintf(L"%ls\n", text.c_str());
    return status;
}

int replicate(_Factory& factory)
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
    check(run->SetReady());
    check(run->initNextRun(&frequency, &version));
    check(run->get_bError(&flag));
    if (flag)
        return stop(2, L"The last run failed: " + errorMessage(*run.Get()));
    check(run->get_bReady(&flag));
    if (!flag)
        return stop(2, L"This site is not ready for a run");

    const Tables tables = createTables(factory);
    goOrRecord(factory, *run.Get(), tables);
    for (const ComPtr<_clsReplicateTable>& table : tables)
        showTable(*table.Get());
    check(run->get_bError(&flag));
    if (flag)
        stop(0, L"Recorded: " + errorMessage(*run.Get()));
    check(factory.resetError());
    return 0;
}

int run(const wchar_t* logFile, const std::vector<const wchar_t*>& databases)
{
    ComPtr<_Factory> factory;
    check(CoCreateInstance(CLSID_Factory, nullptr, CLSCTX_INPROC_SERVER, IID__Factory, &factory));
    const std::unique_ptr<_Factory, HRESULT (*)(_Factory*)> connected(
        factory.Get(), [](_Factory* object) { return object->disconnect(); });
    connect(*factory.Get(), logFile, databases);
    return replicate(*factory.Get());
}

} // namespace

int wmain(int count, wchar_t* given[])
{
    if (count != 2 && count != 6)
        return stop(2, L"usage: replicate LOGFILE [OFFICE_DSN OFFICE_PREFIX LAPTOP_DSN LAPTOP_PREFIX]");
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        return stop(1, L"COM is not available");
    int status = 1;
    try {
        status = run(given[1], count == 6 ? std::vector<const wchar_t*>(given + 2, given + 6)
                                          : std::vector<const wchar_t*>{L"QuinmarkOffice", L"office.",
                                                                        L"QuinmarkLaptop", L"laptop."});
    }
    catch (const Failure& failure) {
        wprintf(L"Could not replicate: %ld (0x%08lX), %ls: %ls\n", failure.number,
                static_cast<unsigned long>(failure.number), failure.source.c_str(), failure.text.c_str());
    }
    CoUninitialize();
    return status;
}
