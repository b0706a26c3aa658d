#pragma once

#include <string>

/// The names of this machine and of the account that runs quinrep; empty where the platform does not tell.
std::string machineName();
std::string windowsUser();
