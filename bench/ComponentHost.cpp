#include "ComponentHost.h"

#include "protocol.h"

#include <comdef.h>

#include <cstdio>
#include <stdexcept>

using Microsoft::WRL::ComPtr;

namespace {

constexpr short kSecondsBetweenAttempts = 900;

/// A text as the component takes it: by reference.
class Text
{
public:
    explicit Text(const std::wstring& text) : text_(text.c_str()) {}
    BSTR* operator&() { return &text_.GetBSTR(); }

private:
    _bstr_t text_;
};

void check(HRESULT result)
{
    if (SUCCEEDED(result))
        return;
    IErrorInfo* told = nullptr;
    GetErrorInfo(0, &told);
    throw _com_error(result, told);
}

std::wstring password()
{
    wchar_t text[256] = L"";
    GetEnvironmentVariableW(L"QUINMARK_PASSWORD", text, static_cast<DWORD>(std::size(text)));
    return text;
}

HostTable readTable(const std::wstring& word)
{
    const size_t method = word.find(L':');
    if (method == std::wstring::npos)
        throw std::runtime_error("a table is METHOD:TABLE or METHOD:TABLE:KEY");
    const size_t key = word.find(L':', method + 1);
    return {static_cast<enumReplicationMethod>(std::stoi(word)),
            word.substr(method + 1, key == std::wstring::npos ? key : key - method - 1),
            key == std::wstring::npos ? L"" : word.substr(key + 1)};
}

ComPtr<_clsReplicateTable> createTable(_Factory& factory, const HostTable& table)
{
    enumReplicationMethod method = table.method;
    enumReplicateDeletes deletes = table.key.empty() ? UNKNOWN : DELETE_WITH_UPDATES;
    Text name(table.name);
    Text dependent(L"");
    Text key(table.key);
    ComPtr<_clsReplicateTable> created;
    check(factory.createReplicationTable(&method, &name, &dependent, &key, &deletes, &created));
    return created;
}

void go(_clsReplicate& run, const std::vector<ComPtr<_clsReplicateTable>>& tables)
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

} // namespace

HostPlan readHostPlan(int count, const wchar_t* const* words)
{
    const bool whole = count > 1 && std::wstring(words[1]) == L"--whole";
    const int first = whole ? 2 : 1;
    constexpr int kSettings = 6;
    if (count <= first + kSettings)
        throw std::runtime_error("usage: [--whole] SOURCE_DSN SOURCE_PREFIX DESTINATION_DSN DESTINATION_PREFIX "
                                 "LOG_LEVEL LOG_FILE METHOD:TABLE[:KEY]...");
    const wchar_t* const* given = words + first;
    HostPlan plan{whole, given[0], given[1], given[2], given[3], static_cast<short>(std::stoi(given[4])), given[5], {}};
    for (int index = first + kSettings; index < count; ++index)
        plan.tables.push_back(readTable(words[index]));
    return plan;
}

ComponentHost::ComponentHost(HostPlan plan) : plan_(std::move(plan))
{
    check(CoCreateInstance(CLSID_Factory, nullptr, CLSCTX_INPROC_SERVER, IID__Factory, &factory_));
    for (const HostTable& table : plan_.tables)
        tables_.push_back(createTable(*factory_.Get(), table));
}

void ComponentHost::run()
{
    if (!plan_.whole)
        connect();
    beginWork();
    if (plan_.whole)
        connect();
    replicate();
    if (plan_.whole)
        check(factory_->disconnect());
    endWork(counters());
    if (!plan_.whole)
        check(factory_->disconnect());
}

void ComponentHost::connect()
{
    enumReplicationUniqueId site = OFFICES;
    const std::wstring secret = password();
    Text role(L"SOURCE");
    Text sourcePrefix(plan_.sourcePrefix);
    Text sourceDsn(plan_.sourceDsn);
    Text sourcePassword(secret);
    Text destinationPrefix(plan_.destinationPrefix);
    Text destinationDsn(plan_.destinationDsn);
    Text destinationPassword(secret);
    Text log(plan_.logFile);
    check(factory_->init(&site, &role, &sourcePrefix, &sourceDsn, &sourcePassword, &destinationPrefix, &destinationDsn,
                         &destinationPassword, &plan_.logLevel, &log));
}

void ComponentHost::replicate()
{
    VARIANT_BOOL belong = VARIANT_FALSE;
    check(factory_->ensureReplication(&belong));
    if (!belong)
        throw std::runtime_error("the databases do not belong together");
    ComPtr<_clsReplicate> run;
    short frequency = kSecondsBetweenAttempts;
    Text version(L"laptop");
    check(factory_->createReplication(&run));
    check(run->initNextRun(&frequency, &version));
    go(*run.Get(), tables_);
}

std::string ComponentHost::counters() const
{
    long added = 0;
    long updated = 0;
    long deleted = 0;
    long conflicts = 0;
    for (const ComPtr<_clsReplicateTable>& table : tables_) {
        long count = 0;
        check(table->get_lCntDestAdd(&count));
        added += count;
        check(table->get_lCntDestUpdate(&count));
        updated += count;
        check(table->get_lCntDestDelete(&count));
        deleted += count;
        check(table->get_lCntConflict(&count));
        conflicts += count;
    }
    return "added=" + std::to_string(added) + " updated=" + std::to_string(updated) +
           " deleted=" + std::to_string(deleted) + " conflicts=" + std::to_string(conflicts);
}

int runProgram(const std::function<void()>& work)
{
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        return 1;
    int status = 1;
    try {
        work();
        status = 0;
    }
    catch (const _com_error& error) {
        wprintf(L"failed: 0x%08lX %ls: %ls\n", static_cast<unsigned long>(error.Error()),
                static_cast<const wchar_t*>(error.Source()), static_cast<const wchar_t*>(error.Description()));
    }
    catch (const std::exception& error) {
        printf("failed: %s\n", error.what());
    }
    CoUninitialize();
    return status;
}
