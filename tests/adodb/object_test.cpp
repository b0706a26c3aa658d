#include "connection.h"

#include "ado_error.h"
#include "com/dispatch.h"
#include "command.h"
#include "error_of.h"
#include "recordset.h"

#include <gtest/gtest.h>

namespace adodb {
namespace {

template <class Class>
com::Dispatch make()
{
    return com::Dispatch(com::makeObject<Class>().Get());
}

long number(const com::Dispatch& object, const wchar_t* property)
{
    return object.property(property);
}

TEST(Objects, BeginWithAdosDefaults)
{
    for (const auto& [object, property, value] :
         {std::tuple(make<Connection>(), L"State", 0L), std::tuple(make<Connection>(), L"CursorLocation", 2L),
          std::tuple(make<Connection>(), L"ConnectionTimeout", 15L),
          std::tuple(make<Connection>(), L"CommandTimeout", 30L), std::tuple(make<Command>(), L"State", 0L),
          std::tuple(make<Command>(), L"CommandTimeout", 30L), std::tuple(make<Command>(), L"CommandType", 8L),
          std::tuple(make<Command>(), L"Prepared", 0L), std::tuple(make<Recordset>(), L"State", 0L),
          std::tuple(make<Recordset>(), L"CursorType", 0L), std::tuple(make<Recordset>(), L"CursorLocation", 2L),
          std::tuple(make<Recordset>(), L"LockType", 1L)})
        EXPECT_EQ(number(object, property), value) << property;
    EXPECT_EQ(_bstr_t(make<Connection>().property(L"ConnectionString")), _bstr_t(L""));
    EXPECT_EQ(V_DISPATCH(&make<Command>().property(L"ActiveConnection").GetVARIANT()), nullptr);
    EXPECT_EQ(number(com::Dispatch::from(make<Recordset>().property(L"Fields")), L"Count"), 0);
}

TEST(ConnectionObject, ClosedRefusesWhatNeedsAnOpenOne)
{
    const auto connection = make<Connection>();
    for (const wchar_t* method : {L"Close", L"BeginTrans", L"CommitTrans", L"RollbackTrans"}) {
        const com::Error error = errorOf([&] { connection.call(method); });
        EXPECT_EQ(error.number, 3704) << method;
        EXPECT_EQ(error.source, L"ADODB.Connection");
        EXPECT_EQ(error.description, L"Operation is not allowed when the object is closed.");
    }
}

TEST(ConnectionObject, UnknownDataSourceSaysSo)
{
    const auto connection = make<Connection>();
    const com::Error error = errorOf([&] { connection.call(L"Open", {L"DSN=NoSuchSource"}); });
    EXPECT_EQ(error.number, kFailed);
    EXPECT_EQ(error.source, kProviderName);
    EXPECT_NE(error.description.find(L"Data source name not found"), std::wstring::npos) << error.description.c_str();
    EXPECT_EQ(number(connection, L"State"), 0);
}

TEST(RecordsetObject, ClosedRefusesWhatNeedsAnOpenOne)
{
    const auto recordset = make<Recordset>();
    for (const wchar_t* member : {L"EOF", L"BOF", L"RecordCount"})
        EXPECT_EQ(numberOf([&] { recordset.property(member); }), 3704) << member;
    for (const wchar_t* method : {L"MoveNext", L"MoveFirst", L"Close"})
        EXPECT_EQ(numberOf([&] { recordset.call(method); }), 3704) << method;
    const com::Error error = errorOf([&] { recordset.property(L"Fields", {L"x"}); });
    EXPECT_EQ(error.number, 3265);
}

TEST(RecordsetObject, OpenWithoutConnectionIsRefused)
{
    const auto recordset = make<Recordset>();
    EXPECT_EQ(numberOf([&] { recordset.call(L"Open", {L"select 1"}); }), 3709);
    EXPECT_EQ(numberOf([&] { recordset.call(L"Open", {L"select 1", 5L}); }), 3001);
}

TEST(CommandObject, ExecuteWithoutConnectionIsRefused)
{
    const auto command = make<Command>();
    command.put(L"CommandText", L"select 1");
    com::Error error = errorOf([&] { command.call(L"Execute"); });
    EXPECT_EQ(error.number, 3709);
    EXPECT_EQ(error.description, L"The connection cannot be used to perform this operation. It is either closed or "
                                 L"invalid in this context.");
    command.putReference(L"ActiveConnection", make<Connection>());
    EXPECT_EQ(numberOf([&] { command.call(L"Execute"); }), 3709) << "closed";
}

TEST(CommandObject, StrangeObjectIsNoConnection)
{
    const auto command = make<Command>();
    EXPECT_EQ(numberOf([&] { command.putReference(L"ActiveConnection", make<Recordset>()); }), 3001);
}

TEST(LateBinding, NamesAreFoundWithoutCase)
{
    EXPECT_EQ(number(make<Connection>(), L"cursorLOCATION"), 2);
}

TEST(LateBinding, UnknownMemberOrAnotherWayOfCallingItIsRefused)
{
    const auto connection = make<Connection>();
    EXPECT_EQ(numberOf([&] { connection.property(L"NoSuchMember"); }), 438);
    EXPECT_EQ(numberOf([&] { connection.put(L"State", 1L); }), 438);
    EXPECT_EQ(numberOf([&] { connection.call(L"Close", {1L}); }), 450);
    EXPECT_EQ(numberOf([&] { connection.call(L"Execute"); }), 449);
}

TEST(LateBinding, ArgumentsByNameReachTheirParameters)
{
    const auto command = make<Command>();
    wchar_t* names[] = {const_cast<wchar_t*>(L"CreateParameter"), const_cast<wchar_t*>(L"size"),
                        const_cast<wchar_t*>(L"Name"), const_cast<wchar_t*>(L"Type")};
    DISPID ids[4] = {};
    ASSERT_EQ(command.get()->GetIDsOfNames(IID_NULL, names, 4, 0, ids), S_OK);
    _variant_t values[] = {7L, L"p", 200L};
    DISPPARAMS params{values, ids + 1, 3, 3};
    _variant_t result;
    ASSERT_EQ(command.get()->Invoke(ids[0], IID_NULL, 0, DISPATCH_METHOD, &params, &result, nullptr, nullptr), S_OK);
    const auto parameter = com::Dispatch::from(result);
    EXPECT_EQ(number(parameter, L"Size"), 7);
    EXPECT_EQ(number(parameter, L"Type"), 200);
    EXPECT_EQ(number(parameter, L"Direction"), 1);
    EXPECT_EQ(_bstr_t(parameter.property(L"Name")), _bstr_t(L"p"));
}

TEST(LateBinding, ObjectsLeaveNothingBehind)
{
    {
        const auto command = make<Command>();
        command.putReference(L"ActiveConnection", make<Connection>());
        const auto parameters = com::Dispatch::from(command.property(L"Parameters"));
        parameters.call(L"Append", {command.call(L"CreateParameter", {L"p", 3L, 1L, 0L, 5L})});
        parameters.property(DISPID_NEWENUM);
    }
    EXPECT_FALSE(com::moduleInUse());
}

} // namespace
} // namespace adodb
