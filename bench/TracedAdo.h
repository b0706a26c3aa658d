#pragma once

#include <memory>
#include <string>
#include <vector>
#include <windows.h>

/// Stands between the component and ADO on the calling thread for as long as it lives, and writes down what is sent to
/// the databases: connections and commands that are made meanwhile, and recordsets that commands return, pass every
/// call on to the real ones. What a trace cannot hold (stored procedures) fails with a text that says so.
class TracedAdo
{
public:
    /// `sourceDsn` tells the source's connection from the destination's.
    TracedAdo(const std::wstring& tracePath, const std::wstring& sourceDsn);
    ~TracedAdo();
    TracedAdo(const TracedAdo&) = delete;
    TracedAdo& operator=(const TracedAdo&) = delete;

private:
    std::vector<DWORD> registrations_;
};
