#pragma once

#include "QuinmarkRepDLL.h"

#include <functional>
#include <string>
#include <vector>
#include <wrl/client.h>

/// A table of a run: METHOD:TABLE or METHOD:TABLE:KEY on the command line. With a key, deletes are replicated.
struct HostTable
{
    enumReplicationMethod method;
    std::wstring name;
    std::wstring key;
};

/// What a host is told on its command line, in this order:
///
///     [--whole] SOURCE_DSN SOURCE_PREFIX DESTINATION_DSN DESTINATION_PREFIX LOG_LEVEL LOG_FILE TABLE...
///
/// With --whole connecting and disconnecting belong to the work. The password comes from QUINMARK_PASSWORD.
struct HostPlan
{
    bool whole = false;
    std::wstring sourceDsn;
    std::wstring sourcePrefix;
    std::wstring destinationDsn;
    std::wstring destinationPrefix;
    short logLevel = 0;
    std::wstring logFile;
    std::vector<HostTable> tables;
};

/// Throws std::runtime_error with the usage.
HostPlan readHostPlan(int count, const wchar_t* const* words);

/// A host of the registered component, at the office and early bound, that keeps to the protocol of a measurement.
class ComponentHost
{
public:
    explicit ComponentHost(HostPlan plan);

    /// Runs all tables, once, with what the protocol says before and after. A failed call throws _com_error.
    void run();

private:
    void connect();
    void replicate();
    std::string counters() const;

    HostPlan plan_;
    Microsoft::WRL::ComPtr<_Factory> factory_;
    std::vector<Microsoft::WRL::ComPtr<_clsReplicateTable>> tables_;
};

/// The program around `work`: COM, and errors as text with status 1.
int runProgram(const std::function<void()>& work);
