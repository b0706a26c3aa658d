#pragma once

#include "Configuration.h"

#include <string>

/// The password that `source` names: "env:NAME", "file:PATH" (its first line), "credential:NAME" (a generic credential
/// of the Windows Credential Manager) or "prompt" (asked for on the console without echo, `what` says for whom).
/// Raises HostError(kUsage) with the source, never with the password.
std::wstring resolvePassword(const std::string& source, const std::string& what);

/// Whether a text names one of these sources.
bool isPasswordSource(const std::string& source);

/// The environment variable that a source names; empty for any other source.
std::string passwordVariable(const std::string& source);

/// The sources in words, for a message.
inline constexpr char kPasswordSources[] = "\"env:NAME\", \"file:PATH\", \"credential:NAME\" or \"prompt\"";

/// Asks for the passwords of both sides that were not asked for yet.
void resolvePasswords(Configuration& configuration);
