#include "PracticePair.h"

#include "LateCall.h"
#include "com/convert.h"
#include "com/error.h"

#include <filesystem>
#include <fstream>
#include <iterator>

std::ostream& operator<<(std::ostream& stream, const TableCounters& counters)
{
    return stream << "source +" << counters.sourceAdd << " ~" << counters.sourceUpdate << " -" << counters.sourceDelete
                  << ", destination +" << counters.destAdd << " ~" << counters.destUpdate << " -" << counters.destDelete
                  << ", conflicts " << counters.conflict << ", errors " << counters.error;
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
    using com::textVariant;
    com::Dispatch(factory_.Get())
        .call(L"init", {static_cast<long>(host_.site), textVariant(host_.role), textVariant(host_.sourcePrefix),
                        textVariant(host_.sourceDsn), textVariant(host_.sourcePassword),
                        textVariant(host_.destinationPrefix), textVariant(host_.destinationDsn),
                        textVariant(host_.destinationPassword), host_.logLevel, textVariant(host_.logFile)});
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
    const _variant_t created =
        com::Dispatch(factory_.Get())
            .call(L"createReplicationTable",
                  {static_cast<long>(plan.method), com::textVariant(plan.table), com::textVariant(plan.dependentTable),
                   com::textVariant(plan.keyField), static_cast<long>(plan.deletes)});
    TableObject table;
    com::check(created.pdispVal->QueryInterface(IID_PPV_ARGS(&table)));
    return table;
}

RunObject PracticePair::createRun() const
{
    RunObject run;
    com::checkCall(factory_->createReplication(run.GetAddressOf()));
    return run;
}

void PracticePair::initNextRun(_clsReplicate& run, const std::wstring& programVersion)
{
    com::Dispatch(&run).call(L"initNextRun", {kFrequencySeconds, com::textVariant(programVersion)});
}

void PracticePair::go(_clsReplicate& run, const std::vector<TableObject>& tables)
{
    std::vector<_variant_t> elements;
    for (const TableObject& table : tables)
        elements.emplace_back(static_cast<IDispatch*>(table.Get()));
    _variant_t collection = arrayOf(std::move(elements));
    com::checkCall(run.go(&collection));
}

TableCounters PracticePair::countersOf(_clsReplicateTable& table)
{
    TableCounters counters;
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

std::vector<TableCounters> PracticePair::replicate(const std::vector<TablePlan>& plans)
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
    std::vector<TableCounters> counters;
    for (const TableObject& table : tables)
        counters.push_back(countersOf(*table.Get()));
    return counters;
}

TableCounters PracticePair::replicate(const TablePlan& plan)
{
    return replicate(std::vector<TablePlan>{plan}).front();
}

std::wstring PracticePair::log() const
{
    std::ifstream file(std::filesystem::path(host_.logFile), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const auto wide = [&text](wchar_t* buffer, int size) {
        return MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), buffer, size);
    };
    std::wstring entries(static_cast<size_t>(wide(nullptr, 0)), L'\0');
    wide(entries.data(), static_cast<int>(entries.size()));
    return entries;
}
