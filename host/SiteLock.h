#pragma once

#include "Configuration.h"

#include <windows.h>

/// At most one run at a time for a site and its local database, whoever starts it on this machine. The platform frees
/// it when a process dies.
class SiteLock
{
public:
    /// Raises HostError(kNotReady) while another run goes on.
    explicit SiteLock(const Configuration& configuration);
    ~SiteLock();
    SiteLock(const SiteLock&) = delete;
    SiteLock& operator=(const SiteLock&) = delete;

private:
    HANDLE mutex_;
};
