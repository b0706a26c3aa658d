#pragma once

#include "Configuration.h"

#include <string>

/// The password that `source` names: "env:NAME", "file:PATH" (its first line), "credential:NAME" (a generic credential
/// of the Windows Credential Manager) or "prompt" (asked for on the console without echo, `what` says for whom).
/// Raises HostError(kUsage) with the source, never with the password.
std::wstring resolvePassword(const std::string& source, const std::string& what);

/// Asks for the passwords of both sides, once.
void resolvePasswords(Configuration& configuration);
