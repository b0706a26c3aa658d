#include "Session.h"

#include "HostError.h"
#include "com/convert.h"
#include "db/forward_only.h"
#include "files.h"
#include "text.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <string_view>

using namespace quinmark;
using Microsoft::WRL::ComPtr;

namespace {

/// A text handed to the component by reference.
_bstr_t argument(const std::string& text)
{
    return _bstr_t(com::newBstr(toWide(text)), false);
}

_bstr_t argument(const std::wstring& text)
{
    return _bstr_t(com::newBstr(text), false);
}

/// Whether a part of the prefix, between its dots and without its brackets, is the name of a database.
bool namesDatabase(const std::string& prefix, const std::wstring& upperName)
{
    std::wistringstream parts(com::upperCase(toWide(prefix)));
    for (std::wstring part; std::getline(parts, part, L'.');) {
        std::erase_if(part, [](wchar_t c) { return c == L'[' || c == L']' || c == L'"'; });
        if (part == upperName)
            return true;
    }
    return false;
}

} // namespace

void openSide(clsConn& conn, const SideConfiguration& side)
{
    conn.openConnection(toWide(side.dsn), side.secret);
}

ComPtr<_Factory> createFactory()
{
    ComPtr<_Factory> factory;
    com::check(CoCreateInstance(CLSID_Factory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)));
    return factory;
}

void requireWritableLog(const std::string& path)
{
    requireWritable("the log", path, kNameAnotherLog);
}

Databases::Databases(const Configuration& configuration) : localIsSource_(configuration.localIsSource)
{
    const auto open = [](const char* name, clsConn& conn, const SideConfiguration& side) {
        whileDoing(std::string("connecting to the ") + name + " " + side.dsn, [&] { openSide(conn, side); });
    };
    open("source", source_, configuration.source);
    open("destination", destination_, configuration.destination);
}

bool Databases::answer()
try {
    for (clsConn* side : {&source_, &destination_})
        openForwardOnly(*side, L"select 1").close();
    return true;
}
catch (const com::Error&) {
    return false;
}

Component::Component(const Configuration& configuration) : factory_(createFactory())
{
    requireWritableLog(configuration.logFile);
    enumReplicationUniqueId site = configuration.site;
    short logLevel = configuration.logLevel;
    _bstr_t role = argument(std::string(configuration.localIsSource ? "SOURCE" : "DESTINATION"));
    _bstr_t sourcePrefix = argument(configuration.source.prefix);
    _bstr_t sourceDsn = argument(configuration.source.dsn);
    _bstr_t sourcePassword = argument(configuration.source.secret);
    _bstr_t destinationPrefix = argument(configuration.destination.prefix);
    _bstr_t destinationDsn = argument(configuration.destination.dsn);
    _bstr_t destinationPassword = argument(configuration.destination.secret);
    _bstr_t logFile = argument(configuration.logFile);
    com::checkCall(factory_->init(&site, &role.GetBSTR(), &sourcePrefix.GetBSTR(), &sourceDsn.GetBSTR(),
                                  &sourcePassword.GetBSTR(), &destinationPrefix.GetBSTR(), &destinationDsn.GetBSTR(),
                                  &destinationPassword.GetBSTR(), &logLevel, &logFile.GetBSTR()));
}

Component::~Component()
{
    factory_->disconnect();
}

void Component::ensureReplication()
{
    VARIANT_BOOL agree = VARIANT_FALSE;
    com::checkCall(factory_->ensureReplication(&agree));
    if (agree != VARIANT_FALSE)
        return;
    _variant_t reason;
    com::checkCall(factory_->get_sErrorMessage(&reason));
    const com::Error error{0, L"", com::concatText(reason)};
    throw HostError(kFailed, "the databases cannot be replicated: " + trimmed(toUtf8(error.description)),
                    advice(error));
}

bool Component::isConnected()
try {
    ensureReplication();
    return true;
}
catch (const HostError& error) {
    // The checks say these texts about rows that they have read. Any other text is of the connections.
    const std::string_view reason = error.what();
    const auto isTold = [reason](const char* text) { return reason.find(text) != std::string_view::npos; };
    return std::ranges::any_of(std::array{"Database Versions (", "Subscript out of range", "Invalid use of Null"},
                               isTold);
}
catch (const com::Error&) {
    return false;
}

ComPtr<_clsReplicateTable> Component::createTable(const TableConfiguration& table)
{
    enumReplicationMethod method = table.method;
    enumReplicateDeletes deletes = table.deletes;
    _bstr_t name = argument(table.name);
    _bstr_t dependent = argument(table.dependent);
    _bstr_t key = argument(table.key);
    ComPtr<_clsReplicateTable> result;
    com::checkCall(factory_->createReplicationTable(&method, &name.GetBSTR(), &dependent.GetBSTR(), &key.GetBSTR(),
                                                    &deletes, &result));
    return result;
}

ComPtr<_clsReplicate> Component::createReplication()
{
    ComPtr<_clsReplicate> result;
    com::checkCall(factory_->createReplication(&result));
    return result;
}

void Component::setError(const std::wstring& text)
{
    VARIANT_BOOL error = VARIANT_TRUE;
    _bstr_t message = argument(text);
    com::checkCall(factory_->setError(&error, &message.GetBSTR()));
}

void Component::resetError()
{
    com::checkCall(factory_->resetError());
}

void requireOwnPrefixes(const Configuration& configuration, Databases& databases)
{
    const std::wstring source = com::upperCase(databases.source().getConn().defaultDatabase());
    const std::wstring destination = com::upperCase(databases.destination().getConn().defaultDatabase());
    const auto refuse = [](const char* side, const SideConfiguration& configured, const std::wstring& own,
                           const std::wstring& other) {
        if (namesDatabase(configured.prefix, other) && !namesDatabase(configured.prefix, own))
            throw HostError(kUsage,
                            std::string("the prefix ") + configured.prefix + " of the " + side +
                                " names the other side's database: the data source " + configured.dsn + " is of " +
                                toUtf8(own),
                            "Exchange the prefixes, or the data sources.");
    };
    refuse("source", configuration.source, source, destination);
    refuse("destination", configuration.destination, destination, source);
}

void whileDoing(const std::string& what, const std::function<void()>& body)
try {
    body();
}
catch (const com::Error& error) {
    throw com::Error{error.number, error.source, toWide(what) + L": " + error.description};
}

std::wstring textProperty(const std::function<HRESULT(BSTR*)>& property)
{
    BSTR text = nullptr;
    com::checkCall(property(&text));
    return com::takeBstr(text);
}
