#pragma once

#include <string>

/// Random bytes from the platform's generator as hexadecimal digits, two for each. Raises HostError(kFailed).
std::string randomHex(size_t bytes);
