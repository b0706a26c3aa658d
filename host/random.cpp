#include "random.h"

#include "HostError.h"

#include <fmt/format.h>
#include <vector>
#include <windows.h>

#include <bcrypt.h>

std::string randomHex(size_t bytes)
{
    std::vector<unsigned char> buffer(bytes);
    if (BCryptGenRandom(nullptr, buffer.data(), static_cast<ULONG>(bytes), BCRYPT_USE_SYSTEM_PREFERRED_RNG) < 0)
        throw HostError(kFailed, "the platform gives no random numbers");
    std::string text;
    for (const unsigned char byte : buffer)
        text += fmt::format("{:02x}", byte);
    return text;
}
