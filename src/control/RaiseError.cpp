#include "control/RaiseError.h"

#include "com/error.h"

#include <limits>

namespace Common {
namespace {

constexpr long kLastRuntimeNumber = 512;

long objectError(long lNumber)
{
    const long long moved = static_cast<long long>(com::kObjectErrorBase) + lNumber;
    if (moved > std::numeric_limits<long>::max())
        com::raiseRuntimeError(com::kOverflow);
    return static_cast<long>(moved);
}

} // namespace

void RaiseError(const std::wstring& sSource, long lNumber, const std::wstring& sDescription)
{
    if (lNumber == 1)
        throw com::Error{objectError(1), sSource, sDescription};
    if (sDescription == L"Exiting method") {
        const com::Error current = com::currentError();
        throw com::Error{lNumber, sSource,
                         L"Error: " + std::to_wstring(current.number) + L"\r\nDesc:" + current.description};
    }
    if (lNumber == 0 || lNumber > kLastRuntimeNumber)
        throw com::Error{objectError(lNumber), sSource, sDescription};
    throw com::Error{lNumber, sSource, sDescription};
}

void reraise(const std::wstring& sSource)
{
    const com::Error current = com::currentError();
    RaiseError(sSource, current.number, current.description);
}

} // namespace Common
