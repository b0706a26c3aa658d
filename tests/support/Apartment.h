#pragma once

#include "com/error.h"

#include <objbase.h>

/// The calling thread as a single-threaded apartment, for as long as this lives.
class Apartment
{
public:
    Apartment() { com::check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)); }
    ~Apartment() { CoUninitialize(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
};
