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

    /// Whether a run of the site goes on. Does not get in the way of one that begins.
    static bool isHeld(const Configuration& configuration);

private:
    HANDLE mutex_;
};
