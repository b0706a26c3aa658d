#include "com/boundary.h"

#include "control/FactoryFace.h"
#include "control/ReplicateFace.h"
#include "replication/ReplicateTableFace.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <stdexcept>

using namespace quinmark;
using Microsoft::WRL::ComPtr;

namespace com {
namespace {

/// The thread's error object as "source: description", taken away; "none" when there is none.
std::wstring takeErrorObject()
{
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, &info) != S_OK)
        return L"none";
    _bstr_t source;
    _bstr_t description;
    info->GetSource(source.GetAddress());
    info->GetDescription(description.GetAddress());
    return fromBstr(source.GetBSTR()) + L": " + fromBstr(description.GetBSTR());
}

template <class Thrown>
HRESULT throughBoundary(Thrown thrown)
{
    SetErrorInfo(0, nullptr);
    return comBoundary([&] { throw thrown; });
}

HRESULT runtimeError(long number)
{
    return throughBoundary(Error{number, L"a.b", runtimeText(number)});
}

constexpr HRESULT control(long number)
{
    return static_cast<HRESULT>(0x800A0000 + static_cast<unsigned long>(number));
}

TEST(ComBoundary, SuccessLeavesNoErrorObject)
{
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(comBoundary([] {}), S_OK);
    EXPECT_EQ(takeErrorObject(), L"none");
}

TEST(ComBoundary, ErrorKeepsNumberSourceAndDescription)
{
    EXPECT_EQ(throughBoundary(Error{static_cast<long>(0x800403E8), L"clsConn.open", L"No such thing"}),
              static_cast<HRESULT>(0x800403E8));
    EXPECT_EQ(takeErrorObject(), L"clsConn.open: No such thing");
}

struct RuntimeText
{
    long number;
    const wchar_t* text;
};

class RuntimeErrors : public testing::TestWithParam<RuntimeText>
{
};

TEST_P(RuntimeErrors, GoOutInFacilityControlWithTheirText)
{
    EXPECT_EQ(runtimeError(GetParam().number), control(GetParam().number));
    EXPECT_EQ(takeErrorObject(), L"a.b: " + std::wstring(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(All, RuntimeErrors,
                         testing::Values(RuntimeText{5, L"Invalid procedure call or argument"},
                                         RuntimeText{6, L"Overflow"}, RuntimeText{7, L"Out of memory"},
                                         RuntimeText{9, L"Subscript out of range"}, RuntimeText{13, L"Type mismatch"},
                                         RuntimeText{52, L"Bad file name or number"},
                                         RuntimeText{53, L"File not found"}, RuntimeText{61, L"Disk full"},
                                         RuntimeText{70, L"Permission denied"},
                                         RuntimeText{75, L"Path/File access error"}, RuntimeText{76, L"Path not found"},
                                         RuntimeText{91, L"Object variable or With block variable not set"},
                                         RuntimeText{94, L"Invalid use of Null"},
                                         RuntimeText{429, L"ActiveX component can't create object"},
                                         RuntimeText{438, L"Object doesn't support this property or method"}),
                         [](const auto& info) { return "Number" + std::to_string(info.param.number); });

TEST(ComBoundary, NumbersMapByRange)
{
    EXPECT_EQ(runtimeError(1), control(1));
    EXPECT_EQ(runtimeError(65535), control(65535));
    EXPECT_EQ(runtimeError(0), E_UNEXPECTED);
    EXPECT_EQ(runtimeError(65536), E_UNEXPECTED);
    EXPECT_EQ(runtimeError(-2147467259), E_FAIL);
}

TEST(ComBoundary, WhatThePlatformThrowsIsTranslated)
{
    EXPECT_EQ(throughBoundary(std::bad_alloc()), control(7));
    EXPECT_EQ(takeErrorObject(), L"QuinmarkRepDLL: Out of memory");
    EXPECT_EQ(throughBoundary(_com_error(DISP_E_TYPEMISMATCH)), control(13));
    EXPECT_EQ(takeErrorObject(), L"QuinmarkRepDLL: Type mismatch");
    EXPECT_EQ(throughBoundary(_com_error(static_cast<HRESULT>(0x80040E14))), static_cast<HRESULT>(0x80040E14));
}

TEST(ComBoundary, AnythingElseIsUnexpected)
{
    EXPECT_EQ(throughBoundary(std::runtime_error("?")), E_UNEXPECTED);
    EXPECT_EQ(throughBoundary(42), E_UNEXPECTED);
    EXPECT_NE(takeErrorObject(), L"none");
}

TEST(RequireOut, ClearsTheCallersVariable)
{
    long number = 5;
    EXPECT_EQ(&requireOut(&number), &number);
    EXPECT_EQ(number, 0);
}

TEST(RequireOut, NullIsEPointer)
{
    EXPECT_EQ(comBoundary([] { requireOut(static_cast<long*>(nullptr)); }), E_POINTER);
    EXPECT_EQ(comBoundary([] { requireIn(static_cast<long*>(nullptr)); }), E_POINTER);
    EXPECT_EQ(comBoundary([] { requireText(nullptr); }), E_POINTER);
    EXPECT_EQ(comBoundary([] { requireBool(nullptr); }), E_POINTER);
}

TEST(RequireText, NullBstrIsTheEmptyText)
{
    BSTR none = nullptr;
    EXPECT_EQ(requireText(&none), L"");
}

/// The arguments of createReplicationTable, as a compiled host holds them.
struct TableArguments
{
    enumReplicationMethod method = ONE_WAY;
    _bstr_t table = L"patient";
    _bstr_t dependent;
    _bstr_t key;
    enumReplicateDeletes deletes = UNKNOWN;

    HRESULT create(_Factory& factory, _clsReplicateTable** result)
    {
        return factory.createReplicationTable(&method, &table.GetBSTR(), &dependent.GetBSTR(), &key.GetBSTR(), &deletes,
                                              result);
    }
};

TEST(FactoryFace, NullPointersAreEPointer)
{
    const auto factory = makeObject<FactoryFace>();
    BSTR text = nullptr;
    EXPECT_EQ(factory->get_Version(nullptr), E_POINTER);
    EXPECT_EQ(factory->get_sErrorMessage(nullptr), E_POINTER);
    EXPECT_EQ(factory->createReplication(nullptr), E_POINTER);
    EXPECT_EQ(factory->createConflict(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(factory->ensureReplication(nullptr), E_POINTER);
    EXPECT_EQ(factory->setLogLevel(nullptr), E_POINTER);
    EXPECT_EQ(factory->setError(nullptr, &text), E_POINTER);
    EXPECT_EQ(TableArguments().create(*factory.Get(), nullptr), E_POINTER);
    EXPECT_EQ(factory->init(nullptr, &text, &text, &text, &text, &text, &text, &text, nullptr, &text), E_POINTER);
    EXPECT_EQ(factory->QueryInterface(__uuidof(_Factory), nullptr), E_POINTER);
}

TEST(FactoryFace, FailureClearsTheResultAndLeavesAnErrorObject)
{
    const auto factory = makeObject<FactoryFace>();
    TableArguments arguments;
    arguments.dependent = L"child";
    auto* result = reinterpret_cast<_clsReplicateTable*>(1);
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(arguments.create(*factory.Get(), &result), static_cast<HRESULT>(0x800403E8));
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(takeErrorObject(),
              L"clsReplicateTable.init: Dependent table only allowed on ONE_WAY_ALLOW_DELETES (patient,)");
}

TEST(FactoryFace, MethodBeyond16BitsOverflows)
{
    const auto factory = makeObject<FactoryFace>();
    TableArguments arguments;
    const long beyond = 70000;
    std::memcpy(&arguments.method, &beyond, sizeof beyond);
    ComPtr<_clsReplicateTable> table;
    EXPECT_EQ(arguments.create(*factory.Get(), &table), control(6));
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(takeErrorObject(), L"clsReplicateTable.init: Overflow");
}

TEST(FactoryFace, SupportsErrorInfoOfItsOwnInterfaceOnly)
{
    const auto factory = makeObject<FactoryFace>();
    ComPtr<ISupportErrorInfo> support;
    ASSERT_EQ(factory.As(&support), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(__uuidof(_Factory)), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(__uuidof(_clsReplicate)), S_FALSE);
}

TEST(FactoryFace, KeepsTheRulesOfIdentity)
{
    const auto factory = makeObject<FactoryFace>();
    ComPtr<ISupportErrorInfo> support;
    ComPtr<IUnknown> fromFactory;
    ComPtr<IUnknown> fromSupport;
    ASSERT_EQ(factory.As(&support), S_OK);
    ASSERT_EQ(factory->QueryInterface(IID_PPV_ARGS(&fromFactory)), S_OK);
    ASSERT_EQ(support.As(&fromSupport), S_OK);
    EXPECT_EQ(fromFactory, fromSupport);
    void* unknown = factory.Get();
    EXPECT_EQ(factory->QueryInterface(__uuidof(_clsReplicate), &unknown), E_NOINTERFACE);
    EXPECT_EQ(unknown, nullptr);
}

TEST(ReplicateFace, NullPointersAreEPointer)
{
    const auto run = makeObject<ReplicateFace>();
    short frequency = 0;
    EXPECT_EQ(run->initNextRun(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(run->initNextRun(&frequency, nullptr), E_POINTER);
    EXPECT_EQ(run->go(nullptr), E_POINTER);
    EXPECT_EQ(run->get_bError(nullptr), E_POINTER);
    EXPECT_EQ(run->get_bReady(nullptr), E_POINTER);
    EXPECT_EQ(run->get_dLastReplicate(nullptr), E_POINTER);
    EXPECT_EQ(run->get_dNextReplicate(nullptr), E_POINTER);
    EXPECT_EQ(run->get_sErrorMessage(nullptr), E_POINTER);
}

TEST(ReplicateTableFace, NullPointersAreEPointer)
{
    const auto table = makeObject<ReplicateTableFace>(std::make_unique<clsReplicateTable>());
    DATE date = 0;
    _variant_t result;
    EXPECT_EQ(table->init(nullptr, nullptr, nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(table->go(&date, &date, nullptr), E_POINTER);
    EXPECT_EQ(table->go(nullptr, &date, &result), E_POINTER);
    EXPECT_EQ(table->go(&date, nullptr, &result), E_POINTER);
    EXPECT_EQ(table->replicateTableTwoWay(nullptr), E_POINTER);
    EXPECT_EQ(table->replicateOneWay(nullptr), E_POINTER);
    EXPECT_EQ(table->get_sTable(nullptr), E_POINTER);
    EXPECT_EQ(table->get_lCntSourceAdd(nullptr), E_POINTER);
    EXPECT_EQ(table->get_lCntSourceUpdate(nullptr), E_POINTER);
    EXPECT_EQ(table->get_lCntSourceDelete(nullptr), E_POINTER);
    EXPECT_EQ(table->get_lCntDestAdd(nullptr), E_POINTER);
    EXPECT_EQ(table->get_lCntDestUpdate(nullptr), E_POINTER);
    EXPECT_EQ(table->get_lCntDestDelete(nullptr), E_POINTER);
    EXPECT_EQ(table->get_lCntConflict(nullptr), E_POINTER);
    EXPECT_EQ(table->get_lCntError(nullptr), E_POINTER);
}

TEST(ReplicateTableFace, GoWithoutAMethodRaisesAndClearsItsResult)
{
    const auto table = makeObject<ReplicateTableFace>(std::make_unique<clsReplicateTable>());
    DATE date = 0;
    VARIANT result;
    result.vt = VT_I4;
    result.lVal = 5;
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(table->go(&date, &date, &result), static_cast<HRESULT>(0x800403E8));
    EXPECT_EQ(result.vt, VT_EMPTY);
    EXPECT_EQ(takeErrorObject(), L"clsReplicateTable.go: Invalid replication method");
}

} // namespace
} // namespace com
