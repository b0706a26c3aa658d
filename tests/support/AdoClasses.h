#pragma once

#include "com/error.h"
#include "com/object.h"

#include <utility>
#include <windows.h>

/// ADO's class ids differ in their first part only.
constexpr CLSID adoClassId(unsigned long first)
{
    return {first, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xaa, 0x00, 0x6d, 0x2e, 0xa4}};
}

inline constexpr CLSID kAdoConnectionId = adoClassId(0x514);
inline constexpr CLSID kAdoCommandId = adoClassId(0x507);
inline constexpr CLSID kAdoRecordsetId = adoClassId(0x535);

/// Makes objects of a class in the place of its server, for the calling apartment and for as long as this lives.
class ReplacedClass
{
public:
    ReplacedClass(REFCLSID id, IUnknown* factory)
    {
        com::check(CoRegisterClassObject(id, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &registration_));
    }
    ~ReplacedClass()
    {
        if (registration_ != 0)
            CoRevokeClassObject(registration_);
    }
    ReplacedClass(ReplacedClass&& other) noexcept : registration_(std::exchange(other.registration_, 0)) {}
    ReplacedClass& operator=(ReplacedClass&&) = delete;

private:
    DWORD registration_ = 0;
};
