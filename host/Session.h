#pragma once

#include "Configuration.h"
#include "conflicts/key_info.h"
#include "db/clsConn.h"

#include <comdef.h>
#include <functional>
#include <string>
#include <wrl/client.h>

/// Opens a connection to one of the databases with the component's login. Raises com::Error.
void openSide(clsConn& conn, const SideConfiguration& side);

/// The component's factory, not yet connected. Raises com::Error.
Microsoft::WRL::ComPtr<_Factory> createFactory();

/// Raises HostError(kUsage) when the component could not write its log there: it would ask a person, in a message box.
void requireWritableLog(const std::string& path);

/// The two databases, through connections of the host's own, which read the values that the component does not tell.
class Databases
{
public:
    /// Opens both connections with the component's login. Raises com::Error, which names the side.
    explicit Databases(const Configuration& configuration);

    clsConn& source() { return source_; }
    clsConn& destination() { return destination_; }
    clsConn& local() { return localIsSource_ ? source_ : destination_; }
    quinmark::Sides sides() { return {source_, destination_}; }

    /// Whether both still answer.
    bool answer();

private:
    clsConn source_;
    clsConn destination_;
    bool localIsSource_;
};

/// The component, connected by the configuration. Every call raises com::Error with what the component reported.
class Component
{
public:
    /// Raises HostError(kUsage) when the log cannot be written.
    explicit Component(const Configuration& configuration);
    /// Disconnects.
    ~Component();
    Component(const Component&) = delete;
    Component& operator=(const Component&) = delete;

    _Factory& factory() { return *factory_.Get(); }

    /// Raises HostError(kFailed) with the component's reason when the databases do not belong together.
    void ensureReplication();
    /// Whether both connections answer, even when the databases do not belong together.
    bool isConnected();
    Microsoft::WRL::ComPtr<_clsReplicateTable> createTable(const TableConfiguration& table);
    Microsoft::WRL::ComPtr<_clsReplicate> createReplication();
    void setError(const std::wstring& text);
    void resetError();

private:
    Microsoft::WRL::ComPtr<_Factory> factory_;
};

/// Raises HostError(kUsage) when a prefix names the other side's database: comparisons and copies would then read and
/// write other tables than the two connections do, and a full copy would empty a table and fill it from itself.
void requireOwnPrefixes(const Configuration& configuration, Databases& databases);

/// Runs `body`; a com::Error that it raises says first what was being done.
void whileDoing(const std::string& what, const std::function<void()>& body);

/// The text of a property that hands one out.
std::wstring textProperty(const std::function<HRESULT(BSTR*)>& property);
