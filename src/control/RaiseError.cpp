#include "control/RaiseError.h"

#include "com/error.h"

namespace Common {
namespace {

constexpr long kLastRuntimeNumber = 512;

long objectError(long lNumber)
{
    static_assert(com::kObjectErrorBase < 0, "its sum with a number from 0 on has to stay in range");
    return com::kObjectErrorBase + lNumber;
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
