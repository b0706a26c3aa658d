#include "PracticePair.h"

#include "com/convert.h"
#include "com/error.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

/// A text that is passed by reference, as every argument of the component is.
class TextArgument
{
public:
    explicit TextArgument(const std::wstring& text) : text_(com::newBstr(text), false) {}
    BSTR* operator&() { return &text_.GetBSTR(); }

private:
    _bstr_t text_;
};

_variant_t arrayOf(const std::vector<TableObject>& tables)
{
    _variant_t array;
    array.parray = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(tables.size()));
    array.vt = VT_ARRAY | VT_VARIANT;
    LONG index = 0;
    for (const TableObject& table : tables) {
        _variant_t element(static_cast<IDispatch*>(table.Get()));
        com::check(SafeArrayPutElement(array.parray, &index, &element));
        ++index;
    }
    return array;
}

std::wstring wideText(const std::string& text)
{
    const int length = MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring wide(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), wide.data(), length);
    return wide;
}

} // namespace

const PracticeSide& PracticePair::local() const
{
    return com::upperCase(host_.role) == L"SOURCE" ? source() : destination();
}

const PracticeSide& PracticePair::remote() const
{
    return &local() == &source() ? destination() : source();
}

void PracticePair::runAt(enumReplicationUniqueId site)
{
    runAt(site, site == OFFICES ? L"SOURCE" : L"DESTINATION");
}

void PracticePair::runAt(enumReplicationUniqueId site, const std::wstring& role)
{
    host_.site = site;
    host_.role = role;
}

void PracticePair::connect()
{
    TextArgument role(host_.role);
    TextArgument sourcePrefix(host_.sourcePrefix);
    TextArgument sourceDsn(host_.sourceDsn);
    TextArgument sourcePassword(host_.sourcePassword);
    TextArgument destinationPrefix(host_.destinationPrefix);
    TextArgument destinationDsn(host_.destinationDsn);
    TextArgument destinationPassword(host_.destinationPassword);
    TextArgument logFile(host_.logFile);
    com::checkCall(factory_->init(&host_.site, &role, &sourcePrefix, &sourceDsn, &sourcePassword, &destinationPrefix,
                                  &destinationDsn, &destinationPassword, &host_.logLevel, &logFile));
}

void PracticePair::disconnect()
{
    EXPECT_EQ(factory_->disconnect(), S_OK);
}

bool PracticePair::ensureReplication() const
{
    VARIANT_BOOL passed = VARIANT_FALSE;
    com::checkCall(factory_->ensureReplication(&passed));
    return passed != VARIANT_FALSE;
}

std::wstring PracticePair::factoryError() const
{
    _variant_t message;
    com::checkCall(factory_->get_sErrorMessage(&message));
    return com::concatText(message);
}

void PracticePair::resetError() const
{
    com::checkCall(factory_->resetError());
}

TableObject PracticePair::createTable(const TablePlan& plan) const
{
    enumReplicationMethod method = plan.method;
    enumReplicateDeletes deletes = plan.deletes;
    TextArgument table(plan.table);
    TextArgument dependentTable(plan.dependentTable);
    TextArgument keyField(plan.keyField);
    TableObject object;
    com::checkCall(
        factory_->createReplicationTable(&method, &table, &dependentTable, &keyField, &deletes, object.GetAddressOf()));
    return object;
}

RunObject PracticePair::createRun() const
{
    RunObject run;
    com::checkCall(factory_->createReplication(run.GetAddressOf()));
    return run;
}

void PracticePair::initNextRun(_clsReplicate& run, const std::wstring& programVersion) const
{
    short frequency = kFrequencySeconds;
    TextArgument version(programVersion);
    com::checkCall(run.initNextRun(&frequency, &version));
}

void PracticePair::go(_clsReplicate& run, const std::vector<TableObject>& tables)
{
    goCollection(run, arrayOf(tables));
}

void PracticePair::goCollection(_clsReplicate& run, const _variant_t& collection)
{
    _variant_t argument(collection);
    com::checkCall(run.go(&argument));
}

Counters PracticePair::countersOf(_clsReplicateTable& table)
{
    Counters counters;
    com::checkCall(table.get_lCntSourceAdd(&counters.sourceAdd));
    com::checkCall(table.get_lCntSourceUpdate(&counters.sourceUpdate));
    com::checkCall(table.get_lCntSourceDelete(&counters.sourceDelete));
    com::checkCall(table.get_lCntDestAdd(&counters.destAdd));
    com::checkCall(table.get_lCntDestUpdate(&counters.destUpdate));
    com::checkCall(table.get_lCntDestDelete(&counters.destDelete));
    com::checkCall(table.get_lCntConflict(&counters.conflict));
    com::checkCall(table.get_lCntError(&counters.error));
    return counters;
}

std::vector<Counters> PracticePair::replicate(const std::vector<TablePlan>& plans)
{
    connect();
    const std::shared_ptr<void> connected(nullptr, [this](void*) { disconnect(); });
    EXPECT_TRUE(ensureReplication()) << factoryError();
    const RunObject run = createRun();
    initNextRun(*run.Get());
    std::vector<TableObject> tables;
    for (const TablePlan& plan : plans)
        tables.push_back(createTable(plan));
    go(*run.Get(), tables);
    std::vector<Counters> counters;
    for (const TableObject& table : tables)
        counters.push_back(countersOf(*table.Get()));
    return counters;
}

Counters PracticePair::replicate(const TablePlan& plan)
{
    return replicate(std::vector<TablePlan>{plan}).front();
}

std::wstring PracticePair::log() const
{
    const std::ifstream file(std::filesystem::path(host_.logFile), std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return wideText(text.str());
}
